#include "libraries/lv2_wrap/plugin.h"

#include <lv2/atom/util.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

#include "core/parameter_table.h"
#include "platform/index.h"

namespace lv2 {

namespace {

// New filters must be loaded into the audio thread's caches: no more often than needed for changes
// to be heard within 20 ms.
constexpr double kSecondsBetweenJobs = 0.014;
constexpr double kSecondsAfterLoad = 0.1;
constexpr int kPatientTicks = 3;
constexpr float kNothing = std::numeric_limits<float>::quiet_NaN();

/// The meaning of a value under `lv2:toggled`.
bool isOn(float control) noexcept { return control > 0.0F; }

}  // namespace

Plugin::Plugin(const PortLayout& ports, double rate, const HostFeatures& host)
    : layout(ports),
      features(host),
      effect(&Plugin::answer, Plug::Idle::kTimer, &monotonicMilliseconds, Machine::ofProcess(),
             nullptr, static_cast<float>(rate)),
      enabledPort(&enabledByDefault),
      freewheelPort(&freewheelByDefault),
      framesBetweenJobs(static_cast<std::uint32_t>(rate * kSecondsBetweenJobs)),
      framesSinceJob(framesBetweenJobs),
      framesAfterLoad(static_cast<std::uint32_t>(rate * kSecondsAfterLoad)) {
  effect.getAeffect()->user = this;
  effect.playLive();
  effect.setBlockSize(kMostFrames);
  for (int id = 0; id < kNumParams; ++id) {
    defaults[at(id)] = kParameterTable[at(id)].value;
    seen[at(id)] = effect.getPlainValue(id);
    parameterPorts[at(id)] = &defaults[at(id)];
  }
  bypassPort = parameterPorts[kBypass];
  parameterPorts[kBypass] = &bypassInForce;
  requested.fill(kNothing);
  if (features.map != nullptr) lv2_atom_forge_init(&forge, features.map);
  IdleTimer::instance().add(*this);
}

Plugin::~Plugin() { IdleTimer::instance().remove(*this); }

std::intptr_t Plugin::answer(AEffect* effect, std::int32_t opcode, std::int32_t /*index*/,
                             std::intptr_t /*value*/, void* /*ptr*/, float /*opt*/) {
  if (opcode == kHostVersion) return kInterfaceVersion;
  if (opcode != kHostProcessLevel) return 0;
  const auto* const plugin = static_cast<const Plugin*>(effect->user);
  const bool isOffline = plugin != nullptr && plugin->offline.load(std::memory_order_relaxed);
  return isOffline ? kProcessLevelOffline : kProcessLevelRealtime;
}

void Plugin::connectPort(std::uint32_t port, void* data) noexcept {
  if (connectControl(port, static_cast<const float*>(data))) return;
  const int number = static_cast<int>(port);
  for (int c = 0; c < layout.mainChannels; ++c) {
    if (number == layout.input(c)) mainPorts[at(c)] = static_cast<const float*>(data);
    if (number == layout.output(c)) outputPorts[at(c)] = static_cast<float*>(data);
  }
  for (int c = 0; c < layout.sideChannels; ++c) {
    if (number == layout.sidechain(c)) sidePorts[at(c)] = static_cast<const float*>(data);
  }
  if (number == layout.control()) controlPort = static_cast<const LV2_Atom_Sequence*>(data);
  if (number == layout.notify()) notifyPort = static_cast<LV2_Atom_Sequence*>(data);
  auto* const value = static_cast<float*>(data);
  if (number == layout.latency()) latencyPort = value;
  if (number == layout.chainGain()) chainGainPort = value;
  for (int band = 0; band < kNumBands; ++band) {
    if (number == layout.bandGain(band)) bandGainPorts[at(band)] = value;
  }
}

bool Plugin::connectControl(std::uint32_t port, const float* data) noexcept {
  const int number = static_cast<int>(port);
  const auto connect = [data](const float*& control, const float& otherwise) {
    control = data != nullptr ? data : &otherwise;
    return true;
  };
  if (port >= static_cast<std::uint32_t>(layout.count())) return false;
  if (number == layout.enabled()) return connect(enabledPort, enabledByDefault);
  if (number == layout.freewheel()) return connect(freewheelPort, freewheelByDefault);
  if (number < layout.firstParameter() || number >= layout.chainGain()) return false;
  arePortsNew = true;
  const int id = parameterInPlace(number - layout.firstParameter());
  return connect(id == kBypass ? bypassPort : parameterPorts[at(id)], defaults[at(id)]);
}

void Plugin::activate() {
  offline.store(isOn(*freewheelPort), std::memory_order_relaxed);
  lookAtPorts(controls.isLoaded());
  controls.deliver();
  effect.resume();
  framesSinceJob = framesBetweenJobs;
}

void Plugin::run(std::uint32_t frames) noexcept {
  takeControls(frames);
  playEvents(frames);
  if (latencyPort != nullptr) *latencyPort = static_cast<float>(latencyAfter(frames));
  writeMeters();
  // Of a state that was loaded the ports are told when the host has set them.
  const bool mayRequest = !controls.isLoaded();
  const bool stateHasChanged = mayRequest && controls.hasInsideChanges();
  if (mayRequest) requestChanges();
  writeEvents(stateHasChanged);
}

/// In samples. Some hosts ask by a block without frames, before anything is processed.
int Plugin::latencyAfter(std::uint32_t frames) noexcept {
  return frames > 0 ? effect.getEngine().heardLatency() : effect.getInitialDelay();
}

void Plugin::takeControls(std::uint32_t frames) noexcept {
  const bool isOffline = isOn(*freewheelPort);
  offline.store(isOffline, std::memory_order_relaxed);
  // While audio runs, hosts restore the state first and set the ports in some later block. Until
  // then the ports have values of the old sound, which must not get into the banks of the new one.
  const bool isLoaded = controls.isLoaded();
  if (isLoaded && !isOffline && framesSinceLoad <= framesAfterLoad) {
    framesSinceLoad += frames;
    return;
  }
  lookAtPorts(isLoaded);
  if (isOffline) {
    controls.deliver();
  } else {
    askForDelivery(frames);
  }
}

/// `isLoaded`: a state was loaded since the last call. Read only once per block.
void Plugin::lookAtPorts(bool isLoaded) noexcept {
  if (isLoaded) {
    controls.takeLoading();
    for (int id = 0; id < kNumParams; ++id) seen[at(id)] = controls.heldByPort(id);
    requested.fill(kNothing);
    framesSinceLoad = 0;
  }
  bypassInForce = isOn(*bypassPort) || !isOn(*enabledPort) ? 1.0F : 0.0F;
  if (arePortsNew) findRow();
  const auto eachPort = [this](int id) { return *parameterPorts[at(id)]; };
  lookAt(0, kB1State, eachPort);
  lookAt(kBandOrder, kNumParams, eachPort);
  if (bandPorts != nullptr) {
    lookAt(kB1State, kBandOrder, [row = bandPorts](int id) { return row[id - kB1State]; });
  } else {
    lookAt(kB1State, kBandOrder, eachPort);
  }
  if (newsCount > 0) takeNews(isLoaded);
}

void Plugin::findRow() noexcept {
  arePortsNew = false;
  bandPorts = parameterPorts[kB1State];
  for (int id = kB1State; id < kBandOrder; ++id) {
    if (parameterPorts[at(id)] != bandPorts + (id - kB1State)) {
      bandPorts = nullptr;
      return;
    }
  }
}

/// Looks for new values of the parameters from `first` up to `end`.
template <typename ValueOf>
void Plugin::lookAt(int first, int end, const ValueOf& valueOf) noexcept {
  // Most ports have not changed: find that out without a branch per port.
  constexpr int kTogether = 32;
  for (int id = first; id < end;) {
    const int start = id;
    unsigned changed = 0;
    for (; id < std::min(start + kTogether, end); ++id) {
      changed |= static_cast<unsigned>(valueOf(id) != seen[at(id)]);
    }
    if (changed != 0) findNews(start, id);
  }
}

/// Values that come together with another bank or after it wait with it, as a whole state's do.
void Plugin::takeNews(bool isLoaded) noexcept {
  const auto end = news.begin() + static_cast<std::ptrdiff_t>(newsCount);
  const bool mayPlay =
      !isLoaded && controls.mayPlay() && std::find(news.begin(), end, int{kABBank}) == end;
  std::for_each(news.begin(), end, [this, mayPlay](int id) {
    const float plain = seen[at(id)];
    mayPlay&& isLiveParameter(id) ? controls.play(id, plain) : controls.offer(id, plain);
  });
  if (mayPlay) {
    std::for_each(news.begin(), end, [this](int id) {
      if (isLiveParameter(id)) controls.playAlone(id, seen[at(id)]);
    });
  }
  newsCount = 0;
}

void Plugin::findNews(int first, int end) noexcept {
  for (int id = first; id < end; ++id) {
    const float plain = *parameterPorts[at(id)];
    if (plain == seen[at(id)] || std::isnan(plain)) continue;
    seen[at(id)] = plain;
    const bool isAnswer = plain == requested[at(id)];
    requested[at(id)] = kNothing;
    if (isAnswer) {
      controls.confirm(id, plain);
    } else {
      news[newsCount++] = id;
    }
  }
}

void Plugin::askForDelivery(std::uint32_t frames) noexcept {
  framesSinceJob = std::min(framesSinceJob, framesBetweenJobs) + frames;
  const bool mayWait = framesSinceJob + frames <= framesBetweenJobs;
  if (features.worker == nullptr || mayWait || !controls.hasNews()) return;
  if (workAsked.exchange(true, std::memory_order_relaxed)) return;
  const std::uint32_t job = 0;  // hosts need not accept empty jobs
  const auto status = features.worker->schedule_work(features.worker->handle, sizeof job, &job);
  if (status == LV2_WORKER_SUCCESS) {
    framesSinceJob = 0;
  } else {
    workAsked.store(false, std::memory_order_relaxed);
  }
}

void Plugin::work() {
  workAsked.store(false, std::memory_order_relaxed);
  controls.deliver();
}

void Plugin::onIdle() {
  idleTicks = controls.hasNews() ? idleTicks + 1 : 0;
  // A worker may have lost the job.
  if (idleTicks > (features.worker == nullptr ? 0 : kPatientTicks)) work();
  controls.findInsideChanges();
}

void Plugin::playEvents(std::uint32_t frames) noexcept {
  processed = 0;
  effect.startHostBlock(static_cast<int>(frames));
  if (controlPort != nullptr && controlPort->atom.type == features.urids.atomSequence &&
      features.map != nullptr) {
    LV2_ATOM_SEQUENCE_FOREACH(controlPort, event) {
      if (event->body.type != features.urids.midiEvent || !movesParameter(*event)) continue;
      const std::int64_t time = std::clamp<std::int64_t>(event->time.frames, 0, frames);
      processUpTo(static_cast<std::uint32_t>(time));
      playMidi(*event);
    }
  }
  processUpTo(frames);
}

/// Other events do not cut the block.
bool Plugin::movesParameter(const LV2_Atom_Event& event) noexcept {
  const auto* const message = reinterpret_cast<const std::uint8_t*>(&event + 1);
  return event.body.size >= 3 && effect.machine().midiMap().takes(message);
}

void Plugin::playMidi(const LV2_Atom_Event& event) noexcept {
  VstMidiEvent midi{};
  midi.type = kVstMidiType;
  midi.byteSize = sizeof midi;
  const std::size_t size = std::min<std::size_t>(event.body.size, 3);
  std::memcpy(midi.midiData, &event + 1, size);
  VstEvents list{};
  list.numEvents = 1;
  list.events[0] = reinterpret_cast<VstEvent*>(&midi);
  effect.processEvents(&list);
}

void Plugin::processUpTo(std::uint32_t end) noexcept {
  while (processed < end) {
    const std::uint32_t frames = std::min(end - processed, kMostFrames);
    processPart(processed, frames);
    processed += frames;
  }
}

void Plugin::processPart(std::uint32_t from, std::uint32_t frames) noexcept {
  std::array<float*, 4> in{};
  std::array<float*, 2> out{};
  const auto copy = [this, &in, from, frames](std::size_t to, const float* port) {
    if (port == nullptr) return;
    std::copy_n(port + from, frames, inputs[to].data());
    in[to] = inputs[to].data();
  };
  const auto channels = static_cast<std::size_t>(layout.mainChannels);
  for (std::size_t c = 0; c < channels; ++c) {
    copy(c, mainPorts[c]);
    copy(channels + c, sidePorts[c]);
  }
  // A missing output marks a mono call, so an unconnected port must not look like one.
  for (std::size_t c = 0; c < channels; ++c) {
    out[c] = outputPorts[c] != nullptr ? outputPorts[c] + from : inputs[c].data();
  }
  effect.processReplacing(in.data(), out.data(), static_cast<std::int32_t>(frames));
}

/// Gives out what has changed the gain most since the last block: in dB, below 0 where it was
/// reduced.
void Plugin::writeMeters() noexcept {
  const auto further = [](double a, double b) {
    return static_cast<float>(std::abs(b) > std::abs(a) ? b : a);
  };
  if (chainGainPort != nullptr) {
    *chainGainPort = further(chainGain.getDecibels(0), chainGain.getDecibels(1));
  }
  compressor& engine = effect.getEngine();
  constexpr int kDynamicAndTransient = 3;
  for (int band = 0; band < kNumBands; ++band) {
    float* const port = bandGainPorts[at(band)];
    if (port == nullptr) continue;
    *port = further(engine.getBandGain(band, kDynamicAndTransient, 0),
                    engine.getBandGain(band, kDynamicAndTransient, 1));
  }
}

void Plugin::requestChanges() noexcept {
  controls.takeInsideChanges([this](int id, float plain) { requestChange(id, plain); });
}

void Plugin::requestChange(int id, float plain) noexcept {
  if (features.changeRequest == nullptr) return;
  const auto request = [this](int port, float value) {
    return features.changeRequest->requestChange(features.changeRequest->handle,
                                                 static_cast<std::uint32_t>(port), value);
  };
  const int port = layout.firstParameter() + placeOfParameter(id);
  // The host may not have carried out the previous request yet.
  const float coming = std::isnan(requested[at(id)]) ? seen[at(id)] : requested[at(id)];
  if (plain == coming) return;
  PortChangeStatus status = kPortChangeSuccess;
  if (id == kBypass) {  // the host has a switch of its own for it
    status = request(layout.enabled(), 1.0F - plain);
    if (plain == 0.0F && isOn(*bypassPort)) status = request(port, plain);
  } else {
    status = request(port, plain);
  }
  requested[at(id)] = status == kPortChangeSuccess ? plain : kNothing;
}

void Plugin::writeEvents(bool stateHasChanged) noexcept {
  if (notifyPort == nullptr || features.map == nullptr) return;
  const std::uint32_t capacity =
      notifyPort->atom.size + static_cast<std::uint32_t>(sizeof(LV2_Atom));
  lv2_atom_forge_set_buffer(&forge, reinterpret_cast<std::uint8_t*>(notifyPort), capacity);
  LV2_Atom_Forge_Frame sequence;
  if (lv2_atom_forge_sequence_head(&forge, &sequence, 0) == 0) return;
  constexpr std::uint32_t kEventBytes = sizeof(LV2_Atom_Event) + sizeof(LV2_Atom_Object_Body);
  if (stateHasChanged && forge.size - forge.offset >= kEventBytes) {
    LV2_Atom_Forge_Frame object;
    lv2_atom_forge_frame_time(&forge, 0);
    lv2_atom_forge_object(&forge, &object, 0, features.urids.stateChanged);
    lv2_atom_forge_pop(&forge, &object);
  }
  lv2_atom_forge_pop(&forge, &sequence);
}

}  // namespace lv2
