#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <numbers>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "core/parameter_table.h"
#include "core/plug.h"
#include "tests/support/real_time.h"

/// An effect whose idle the test calls, and a host that records what it is told.
class PlugRig {
 public:
  struct Message {
    std::int32_t opcode;
    std::int32_t index;
    float value;
  };

  explicit PlugRig(const std::string& settings = "", double rate = 48000.0,
                   InstallFolders folders = {},
                   std::unique_ptr<UserStore> store = std::make_unique<MemoryStore>())
      : machine(std::move(store), std::move(folders)),
        plug(
            &PlugRig::callback, Plug::Idle::kCaller, [this] { return now += clockStep; }, machine) {
    plug.getAeffect()->user = this;
    plug.setSampleRate(static_cast<float>(rate));
    setText(settings);
    plug.resume();
    messages.clear();
  }

  void set(int index, double plain) {
    plug.setParameter(index, plug.plainToNormalised(index, static_cast<float>(plain)));
  }
  /// "B1Type=1 IpTrim=-6": as `set`, all together.
  void setText(const std::string& text) {
    const UpdateHold together(plug.updates());
    std::istringstream words(text);
    double plain = 0.0;
    for (std::string name; std::getline(words >> std::ws, name, '=') && words >> plain;) {
      const int index = id(("k" + name).c_str());
      ASSERT_GE(index, 0) << name;
      set(index, plain);
    }
  }
  [[nodiscard]] static int id(const char* identifier) {
    return parameterKeyTable().find(identifier);
  }
  /// A choice of the machine's, taken by the effect.
  void prefer(const char* preference, std::int32_t choice) {
    machine.globals().setGlobal(preference, choice);
    plug.applyGlobalPreferences();
  }
  [[nodiscard]] int count(std::int32_t opcode, std::int32_t index) const {
    int found = 0;
    for (const Message& m : messages) found += m.opcode == opcode && m.index == index ? 1 : 0;
    return found;
  }

  // Milliseconds that pass at each look at the clock. At a tick of 100, redesigns never wait.
  std::atomic<std::int64_t> clockStep{100};
  std::atomic<std::int64_t> now{0};
  Machine machine;  // nobody else's
  Plug plug;
  std::atomic<std::intptr_t> processLevel{0};  // neither real time nor offline
  std::function<void()> onAutomate;            // called at every automation message
  std::vector<Message> messages;               // but for process level queries; from any thread

 private:
  PlugBaseMutex recording;

  static std::intptr_t callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                std::intptr_t /*value*/, void* /*ptr*/, float opt) {
    auto* const rig = static_cast<PlugRig*>(effect->user);
    if (rig == nullptr) return 0;
    if (opcode == kHostProcessLevel) return rig->processLevel;
    if (opcode == kHostAutomate && rig->onAutomate) rig->onAutomate();
    const PlugBaseMutex::Scope lock(rig->recording);
    rig->messages.push_back({opcode, index, opt});
    return 0;
  }
};

/// Two channels of audio.
template <typename Sample>
struct Stereo {
  explicit Stereo(int frames)
      : channels{std::vector<Sample>(static_cast<std::size_t>(frames)),
                 std::vector<Sample>(static_cast<std::size_t>(frames))} {}
  [[nodiscard]] int frames() const { return static_cast<int>(channels[0].size()); }
  bool operator==(const Stereo&) const = default;
  std::array<std::vector<Sample>, 2> channels;
};

/// What a host's audio thread calls: fails the test if it leaves real time.
inline void process(Plug& plug, float** in, float** out, int frames) {
  const RealTimeCheck check;
  plug.processReplacing(in, out, frames);
}
inline void process(Plug& plug, double** in, double** out, int frames) {
  const RealTimeCheck check;
  plug.processDoubleReplacing(in, out, frames);
}

/// Runs `input`, mono if its right is empty, through in blocks of `block`, `side` for a sidechain;
/// `between(frame)` before each block.
template <typename Sample, typename Between>
Stereo<Sample> render(Plug& plug, Stereo<Sample> input, int block, Between between,
                      Stereo<Sample>* side = nullptr) {
  Stereo<Sample> output(input.frames());
  const std::size_t channels = input.channels[1].empty() ? 1 : 2;
  for (int at = 0; at < input.frames(); at += block) {
    between(at);
    std::array<Sample*, 4> in{};
    std::array<Sample*, 2> out{};
    for (std::size_t c = 0; c < channels; ++c) {
      in[c] = input.channels[c].data() + at;
      out[c] = output.channels[c].data() + at;
      if (side != nullptr) in[channels + c] = side->channels[c].data() + at;
    }
    process(plug, in.data(), out.data(), std::min(block, input.frames() - at));
  }
  return output;
}
template <typename Sample>
Stereo<Sample> render(Plug& plug, const Stereo<Sample>& input, int block) {
  return render(plug, input, block, [](int) {});
}

/// A sine in the left channel alone.
inline Stereo<double> tone(double level, double hertz, int frames) {
  Stereo<double> signal(frames);
  for (int i = 0; double& x : signal.channels[0]) {
    x = level * std::sin(2.0 * std::numbers::pi * hertz * i++ / 48000.0);
  }
  return signal;
}

/// The largest difference between the output and the input as late as `latency`.
template <typename Sample>
double deviation(const Stereo<Sample>& input, const Stereo<Sample>& output, std::size_t latency) {
  double worst = 0.0;
  for (std::size_t c = 0; c < 2; ++c) {
    for (std::size_t i = 0; i < output.channels[c].size(); ++i) {
      const double wanted = i < latency ? 0.0 : static_cast<double>(input.channels[c][i - latency]);
      worst = std::max(worst, std::abs(static_cast<double>(output.channels[c][i]) - wanted));
    }
  }
  return worst;
}

/// As late as the host is told.
inline std::size_t latencyOf(PlugRig& rig) {
  rig.plug.onIdle();
  return static_cast<std::size_t>(rig.plug.getAeffect()->initialDelay);
}

/// "State=1 Type=0" of a band, counted from 1, as `setText` takes it.
inline std::string ofBand(int band, const std::string& rows) {
  std::istringstream words(rows);
  std::string text;
  for (std::string word; words >> word;) text += "B" + std::to_string(band) + word + ' ';
  return text;
}

inline double linear(double dB) { return std::pow(10.0, dB / 20.0); }

inline std::vector<float> normalisedValues(Plug& plug) {
  std::vector<float> values;
  values.reserve(kNumParams);
  for (int id = 0; id < kNumParams; ++id) values.push_back(plug.getParameter(id));
  return values;
}

/// Calls `disturb(step)` as often as it can on another thread while it lives.
class Disturbance {
 public:
  template <typename Disturb>
  explicit Disturbance(Disturb disturb)
      : thread([this, disturb] {
          for (; !done; ++calls) disturb(calls.load());
        }) {
    await(1);
  }
  ~Disturbance() { end(); }
  /// Until it has called so often in all.
  void await(int count) const {
    while (calls < count) std::this_thread::yield();
  }
  void end() {
    done = true;
    if (thread.joinable()) thread.join();
  }

 private:
  std::atomic<bool> done{false};
  std::atomic<int> calls{0};
  std::thread thread;
};

/// One controller message, on the audio thread.
inline void sendController(Plug& plug, int status, int controller, int value) {
  VstMidiEvent event{};
  event.type = kVstMidiType;
  event.byteSize = sizeof event;
  event.midiData[0] = static_cast<std::uint8_t>(status);
  event.midiData[1] = static_cast<std::uint8_t>(controller);
  event.midiData[2] = static_cast<std::uint8_t>(value);
  VstEvents list{};
  list.numEvents = 1;
  list.events[0] = reinterpret_cast<VstEvent*>(&event);
  const RealTimeCheck check;
  plug.processEvents(&list);
}

/// FNV-1a of a text that users' files stand on.
constexpr std::uint32_t hashOf(std::string_view text) {
  std::uint32_t hash = 2166136261U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return hash;
}

/// Noise of a fixed seed in -1..1, the channels different.
template <typename Sample>
Stereo<Sample> noise(int frames) {
  Stereo<Sample> signal(frames);
  std::uint32_t seed = 12345;
  for (auto& channel : signal.channels) {
    for (Sample& x : channel) {
      seed = seed * 1664525U + 1013904223U;
      x = static_cast<Sample>(static_cast<double>(seed) / 2147483648.0 - 1.0);
    }
  }
  return signal;
}
