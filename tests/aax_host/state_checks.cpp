#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <thread>

#include "tests/aax_host/checks.h"
#include "tests/aax_host/hosted_instance.h"
#include "tests/aax_host/parameter_facts.h"
#include "tests/aax_host/reference.h"

namespace {

constexpr AAX_CTypeID kEffectChunk = AAX_TypeID("CvnP");

std::vector<double> allValues(const HostedInstance& instance) {
  std::vector<double> values;
  for (int i = 0; i <= kNumParams; ++i) values.push_back(instance.normalised(instance.id(i)));
  return values;
}

void setBusy(HostedInstance& instance) {
  for (const auto& [index, plain] : busySettings()) instance.set(index, plain);
}

void checkChunks(const Bench& bench, Faults& faults) {
  const HostedInstance instance(bench.effect, 2);
  std::int32_t count = 0;
  instance.parameters->GetNumberOfChunks(&count);
  faults.equal(count, 2, "the number of chunks");
  const struct {
    AAX_CTypeID id;
    const char* name;
  } rows[] = {{kAAX_ControlsChunkID, "Complete Controls State"}, {kEffectChunk, "Plugin Chunk"}};
  for (int i = 0; i < 2; ++i) {
    const std::string which = "chunk " + std::to_string(i) + ": ";
    AAX_CTypeID id = 0;
    instance.parameters->GetChunkIDFromIndex(i, &id);
    faults.equal(id, rows[i].id, which + "the identifier");
    const StoredChunk chunk = instance.chunk(id);
    faults.equal(chunk.result, AAX_SUCCESS, which + "the result");
    faults.expect(!chunk.overrun, which + "more bytes than announced");
    faults.equal(chunk.name, rows[i].name, which + "the name");
    std::uint32_t size = 0;
    instance.parameters->GetChunkSize(id, &size);
    faults.equal(chunk.data.size(), std::size_t{size}, which + "the size of the record");
    faults.expect(!chunk.data.empty(), which + "no bytes");
    faults.expect(instance.chunk(id).data == chunk.data, which + "changes by being asked");
  }
}

/// Restores the effect's chunk: the host is told of what it changes, of each value once.
AAX_Result restoreTold(HostedInstance& target, AAX_CTypeID id, const std::string& data,
                       Faults& faults) {
  const std::vector<double> before = allValues(target);
  static_cast<void>(target.host.takeEvents());
  const AAX_Result result = target.restore(id, data);
  const std::vector<AutomationEvent> events = target.host.takeEvents();
  const std::vector<double> after = allValues(target);
  for (int i = 0; id == kEffectChunk && i < kNumParams; ++i) {
    const auto index = static_cast<std::size_t>(i);
    const auto told = std::ranges::count_if(events, [&](const AutomationEvent& event) {
      return event.kind == 'P' && event.id == target.id(i);
    });
    faults.equal(told, after[index] != before[index] ? 1 : 0, "times told " + target.id(i));
  }
  return result;
}

/// States taken before anything was rendered, into instances that have rendered other values.
void checkRestore(const Bench& bench, Faults& faults) {
  Reference reader;
  const struct {
    const char* name;
    std::vector<AAX_CTypeID> chunks;
    double bank;
  } rows[] = {{"the effect's chunk", {kEffectChunk}, 1.0},  // made in bank B
              {"the controls chunk", {kAAX_ControlsChunkID}, 1.0},
              {"both chunks", {kAAX_ControlsChunkID, kEffectChunk}, 1.0},
              {"both chunks turned", {kEffectChunk, kAAX_ControlsChunkID}, 1.0},
              {"both chunks of bank A", {kEffectChunk, kAAX_ControlsChunkID}, 0.0}};
  for (const auto& row : rows) {
    HostedInstance source(bench.effect, 2);
    source.set(kB1Knee, 50.0);
    source.set(kABBank, row.bank);
    setBusy(source);
    source.set(kABBank, 1.0 - row.bank);
    source.set(kB1Gain, -5.0);
    source.set(kABBank, row.bank);
    HostedInstance target(bench.effect, 2);
    target.set(kB1Gain, 7.0);
    static_cast<void>(target.render(noise(2, 4800)));
    for (const AAX_CTypeID id : row.chunks) {
      const AAX_Result result = restoreTold(target, id, source.chunk(id).data, faults);
      faults.equal(result, AAX_SUCCESS, row.name);
    }
    const bool equal = reader.valuesOf(target) == reader.valuesOf(source);
    faults.expect(equal, row.name + std::string(": other values of the effect"));
    for (int i = 0; i <= kABBank; ++i) {
      const ParameterFacts facts(i);
      const auto stepOf = [&](const HostedInstance& instance) {
        return std::lround(instance.normalised(facts.id) * (facts.hostSteps - 1));
      };
      faults.equal(stepOf(target), stepOf(source),
                   row.name + (": " + std::string(facts.record.name)));
    }
    if (std::ranges::find(row.chunks, kEffectChunk) == row.chunks.end()) continue;
    // The effect's chunk holds the other banks as well.
    for (HostedInstance* const instance : {&source, &target}) {
      for (const double bank : {1.0, 0.0, 5.0, 1.0 - row.bank}) instance->set(kABBank, bank);
    }
    faults.expect(reader.valuesOf(target) == reader.valuesOf(source),
                  row.name + std::string(": other values of another bank"));
  }
}

/// A restored instance sounds like the one it comes from.
void checkRestoredAudio(const Bench& bench, Faults& faults) {
  HostedInstance source(bench.effect, 2);
  HostedInstance target(bench.effect, 2);
  setBusy(source);
  target.restore(kEffectChunk, source.chunk(kEffectChunk).data);
  waitForIdle();
  faults.equal(target.host.latency(), source.host.latency(), "the latency");
  const Signal expected = source.render(noise(2, 24000));
  const Signal actual = target.render(noise(2, 24000));
  double worst = 0.0;
  for (std::size_t i = 0; i < expected[0].size(); ++i) {
    for (std::size_t c = 0; c < 2; ++c) {
      worst = std::max(worst, static_cast<double>(std::abs(actual[c][i] - expected[c][i])));
    }
  }
  // Rounding alone: filters reached by edits and at once differ in their last bits.
  faults.expect(worst < 1e-6, "other audio, by " + std::to_string(worst));
}

void checkDamaged(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  setBusy(instance);
  const std::vector<double> values = allValues(instance);
  const std::string state = instance.chunk(kEffectChunk).data;
  HostedInstance other(bench.effect, 2);
  for (const AAX_CTypeID id : {kEffectChunk, kAAX_ControlsChunkID}) {
    const std::string whole = other.chunk(id).data;
    std::vector<std::string> damaged = {"",
                                        "Z",
                                        "ZIP ",
                                        std::string(whole.size(), '\xff'),
                                        std::string(whole.size(), '\0'),
                                        whole.substr(1)};
    for (const std::size_t bytes : {whole.size() / 2, whole.size() - 40, std::size_t{5}}) {
      damaged.push_back(whole.substr(0, bytes));
    }
    if (id == kAAX_ControlsChunkID) damaged.push_back(whole + '\0');
    for (std::size_t i = 0; i < damaged.size(); ++i) {
      instance.restore(id, damaged[i]);
      const std::string which = "damage " + std::to_string(i) + " of chunk " + std::to_string(id);
      faults.expect(allValues(instance) == values, which + " changes the host's values");
      faults.expect(instance.chunk(kEffectChunk).data == state, which + " changes the effect");
    }
    AAX_SPlugInChunk negative{};
    negative.fSize = -1;
    const AAX_Result result = instance.parameters->SetChunk(id, &negative);
    faults.expect(result != AAX_SUCCESS, "a negative size is taken");
  }
}

void checkCodes(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  AAX_IEffectParameters& p = *instance.parameters;
  constexpr AAX_CTypeID kUnknown = AAX_TypeID("zzzz");
  AAX_CTypeID id = 0;
  std::uint32_t size = 0;
  AAX_SPlugInChunk chunk{};
  float curve[2] = {100.0F, 1000.0F};
  const struct {
    const char* call;
    AAX_Result actual, expected;
  } rows[] = {
      {"chunk index -1", p.GetChunkIDFromIndex(-1, &id), AAX_ERROR_INVALID_CHUNK_INDEX},
      {"chunk index 2", p.GetChunkIDFromIndex(2, &id), AAX_ERROR_INVALID_CHUNK_INDEX},
      {"unknown size", p.GetChunkSize(kUnknown, &size), AAX_ERROR_INVALID_CHUNK_ID},
      {"unknown chunk", p.GetChunk(kUnknown, &chunk), AAX_ERROR_INVALID_CHUNK_ID},
      {"unknown restore", p.SetChunk(kUnknown, &chunk), AAX_ERROR_INVALID_CHUNK_ID},
      {"controls of no told size", p.GetChunk(kAAX_ControlsChunkID, &chunk),
       AAX_ERROR_INCORRECT_CHUNK_SIZE},
      {"curve", p.GetCurveData(AAX_eCurveType_EQ, curve, 2, curve), AAX_ERROR_UNIMPLEMENTED},
      {"other curve", p.GetCurveData(kUnknown, curve, 2, curve), AAX_ERROR_UNIMPLEMENTED}};
  for (const auto& row : rows) faults.equal(row.actual, row.expected, row.call);
}

void checkFieldData(const Bench& bench, Faults& faults) {
  const HostedInstance instance(bench.effect, 2);
  const HostedInstance other(bench.effect, 2);
  void* const own = instance.privatePointer();
  faults.expect(own != nullptr && own != other.privatePointer(), "no private pointer of its own");
  std::array<unsigned char, 24> block{};
  const auto reset = [&](AAX_CFieldIndex field, std::uint32_t size) {
    block.fill(0xee);
    instance.parameters->ResetFieldData(field, block.data(), size);
    return std::all_of(block.begin() + size, block.end(), [](auto byte) { return byte == 0xee; });
  };
  faults.expect(reset(8, sizeof own), "more than the private pointer is written");
  faults.expect(std::memcmp(block.data(), &own, sizeof own) == 0, "another pointer at a reset");
  bench.host.log.notes.clear();
  faults.expect(reset(8, 4), "more than there is room for is written");
  const auto& notes = bench.host.log.notes;
  const char* const note = "iDataSize==sizeof(SAAXWrap_Alg_Context_Private)";
  faults.equal(std::ranges::count(notes, note), 1, "with a wrong size the number of assertions");
  for (const std::uint32_t size : {4U, 16U}) {
    faults.expect(reset(6, size), "more than another field is written");
    faults.expect(
        std::all_of(block.begin(), block.begin() + size, [](auto byte) { return byte == 0; }),
        "another field is not zeroed");
  }
}

/// Renders until the reported latency is `expected`, but no longer than a second.
bool latencyBecomes(HostedInstance& instance, int expected) {
  for (int turn = 0; turn < 50; ++turn) {
    static_cast<void>(instance.render(noise(2, 64)));
    if (instance.host.latency() == expected) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

void checkOffline(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  Reference offline(true);
  instance.set(kOversampleOL, 2.0);
  offline.set(kOversampleOL, 2.0);
  offline.resume();
  const int live = instance.host.latency();
  faults.expect(offline.getInitialDelay() != live, "oversampling takes no time");
  instance.notify(AAX_eNotificationEvent_EnteringOfflineMode);
  faults.expect(latencyBecomes(instance, offline.getInitialDelay()), "no offline latency");
  instance.notify(AAX_eNotificationEvent_ExitingOfflineMode);
  faults.expect(latencyBecomes(instance, live), "no live latency again");
}

void checkNotifications(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  setBusy(instance);
  const std::vector<double> values = allValues(instance);
  const std::string state = instance.chunk(kEffectChunk).data;
  const std::string longName(1000, '\xe9');
  const std::int32_t previewing = 1;
  const std::string_view preview(reinterpret_cast<const char*>(&previewing), sizeof previewing);
  for (const std::string_view name : {std::string_view(longName), std::string_view("Voc\xc3\xa4l"),
                                      std::string_view("a\0b", 3), std::string_view()}) {
    instance.notify(AAX_eNotificationEvent_TrackNameChanged, name);
  }
  for (const std::string_view data : {preview, preview.substr(0, 1), std::string_view()}) {
    instance.notify(AAX_eNotificationEvent_ASPreviewState, data);
  }
  instance.notify(AAX_TypeID("zzzz"), longName);
  faults.expect(allValues(instance) == values, "a notification changes a value");
  faults.expect(instance.chunk(kEffectChunk).data == state, "a notification changes the effect");
}

constexpr Check kChecks[] = {{"state.chunks", &checkChunks},
                             {"state.restore", &checkRestore},
                             {"state.restored audio", &checkRestoredAudio},
                             {"state.damaged", &checkDamaged},
                             {"state.codes", &checkCodes},
                             {"state.field data", &checkFieldData},
                             {"state.offline", &checkOffline},
                             {"state.notifications", &checkNotifications}};

}  // namespace

std::span<const Check> stateChecks() { return kChecks; }
