// What storing and loading a state costs, beside a plain copy of its bytes.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/plug.h"
#include "state/preset_menu.h"

namespace {

struct Instance {
  Machine machine{std::make_unique<MemoryStore>(), {}};
  Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
};

/// Every value of all eight banks somewhere else: the largest document there is.
void fill(Plug& plug) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> anywhere(0.0F, 1.0F);
  const UpdateHold hold(plug.updates());
  for (int bank = 0; bank < Plug::kNumBanks; ++bank) {
    for (std::int32_t i = 0; i < kABBank; ++i) {
      if (i != kBandOrder) plug.setParameter(i, anywhere(random));
    }
    plug.copyToBank(bank);
  }
}

std::string chunkOf(Plug& plug, bool isPreset) {
  void* data = nullptr;
  const auto size = static_cast<std::size_t>(plug.getChunk(&data, isPreset));
  return {static_cast<const char*>(data), size};
}

enum Content : std::int64_t { kFresh, kFull };

/// A renamed program is a change that costs nothing itself.
void getChunk(benchmark::State& state) {
  Instance instance;
  if (state.range(0) == kFull) fill(instance.plug);
  std::size_t bytes = 0;
  for (auto _ : state) {
    instance.plug.setProgramName("Changed");
    bytes = chunkOf(instance.plug, false).size();
  }
  state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(getChunk)->Arg(kFresh)->Arg(kFull)->Unit(benchmark::kMicrosecond);

void getChunkUnpacked(benchmark::State& state) {
  Instance instance;
  fill(instance.plug);
  instance.plug.setCompressionLevel(0);
  for (auto _ : state) {
    instance.plug.setProgramName("Changed");
    benchmark::DoNotOptimize(chunkOf(instance.plug, false));
  }
}
BENCHMARK(getChunkUnpacked)->Unit(benchmark::kMicrosecond);

void getChunkCached(benchmark::State& state) {
  Instance instance;
  fill(instance.plug);
  void* data = nullptr;
  for (auto _ : state) benchmark::DoNotOptimize(instance.plug.getChunk(&data, false));
}
BENCHMARK(getChunkCached)->Unit(benchmark::kMicrosecond);

void copyOfTheBytes(benchmark::State& state) {
  Instance instance;
  fill(instance.plug);
  const std::string chunk = chunkOf(instance.plug, false);
  for (auto _ : state) benchmark::DoNotOptimize(std::string(chunk.data(), chunk.size()));
}
BENCHMARK(copyOfTheBytes)->Unit(benchmark::kMicrosecond);

/// `isPreset` form; loads two states by turns, so that filters are designed each time.
void setChunk(benchmark::State& state) {
  const bool isPreset = state.range(0) != 0;
  Instance instance;
  const std::string fresh = chunkOf(instance.plug, isPreset);
  fill(instance.plug);
  const std::string full = chunkOf(instance.plug, isPreset);
  bool turn = false;
  for (auto _ : state) {
    const std::string& chunk = turn ? fresh : full;
    instance.plug.setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), isPreset);
    turn = !turn;
  }
}
BENCHMARK(setChunk)->ArgName("preset")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void bankSwitch(benchmark::State& state) {
  Instance instance;
  fill(instance.plug);
  std::int32_t bank = 0;
  for (auto _ : state) instance.plug.switchBank(bank ^= 1);
}
BENCHMARK(bankSwitch)->Unit(benchmark::kMicrosecond);

/// A folder that goes with the object.
class Folder {
 public:
  explicit Folder(const char* name) : path(std::filesystem::temp_directory_path() / name) {
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
  }
  ~Folder() { std::filesystem::remove_all(path); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::filesystem::path path;
};

void presetLoad(benchmark::State& state) {
  const Folder folder("corvanthelis_state_bench");
  Machine machine(std::make_unique<MemoryStore>(), {folder.path.string(), ""});
  Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine);
  const std::string first = folder.path / "1.CorvanthelisPreset";
  const std::string second = folder.path / "2.CorvanthelisPreset";
  plug.presetFiles().savePreset(first, kPresetExtension, true);
  fill(plug);
  plug.presetFiles().savePreset(second, kPresetExtension, true);
  bool turn = false;
  for (auto _ : state) {
    plug.presetFiles().loadPresetFile(turn ? first : second);
    turn = !turn;
  }
}
BENCHMARK(presetLoad)->Unit(benchmark::kMicrosecond);

/// A hundred folders of a hundred presets each, made once.
struct TenThousandPresets : Folder {
  TenThousandPresets() : Folder("corvanthelis_state_bench_presets") {
    for (int i = 0; i < 10000; ++i) {
      const auto below = path / std::to_string(i / 100);
      if (i % 100 == 0) std::filesystem::create_directories(below);
      std::ofstream(below / (std::to_string(i) + " Preset.CorvanthelisPreset"));
    }
  }
};
const Folder& tenThousandPresets() {
  static const TenThousandPresets folder;
  return folder;
}

void listTenThousandPresets(benchmark::State& state) {
  const Folder& folder = tenThousandPresets();
  for (auto _ : state) {
    PresetMenu menu;
    walkPresetFolder(menu, folder.path.string(), kPresetExtension);
    if (menu.entries.size() != 100) state.SkipWithError("the folder was not read");
  }
}
BENCHMARK(listTenThousandPresets)->Unit(benchmark::kMillisecond);

/// The baseline of the list: the same entries read and forgotten.
void readTenThousandNames(benchmark::State& state) {
  const Folder& folder = tenThousandPresets();
  for (auto _ : state) {
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path)) {
      count += entry.path().native().empty() ? 0 : 1;
    }
    benchmark::DoNotOptimize(count);
  }
}
BENCHMARK(readTenThousandNames)->Unit(benchmark::kMillisecond);

}  // namespace
