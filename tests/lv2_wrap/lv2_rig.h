#pragma once

#include <lv2/atom/atom.h>
#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/midi/midi.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "apps/aax_host/host_memory.h"
#include "core/parameter_table.h"
#include "core/plug.h"
#include "libraries/lv2_wrap/port_change_request.h"
#include "libraries/lv2_wrap/port_layout.h"
#include "platform/shared_library.h"
#include "tests/support/real_time.h"

/// Names and their numbers, the same for all hosts of the process.
class UridMap {
 public:
  static LV2_URID map(const char* uri) {
    const HostMemory own;
    static std::mutex mutex;
    static std::map<std::string, LV2_URID> known;
    const std::lock_guard guard(mutex);
    return known.emplace(uri, static_cast<LV2_URID>(known.size() + 1)).first->second;
  }
  static LV2_URID_Map* feature() {
    static LV2_URID_Map map = {
        nullptr, [](LV2_URID_Map_Handle, const char* uri) { return UridMap::map(uri); }};
    return &map;
  }
};

/// A stored state.
struct StoredState {
  struct Value {
    std::vector<char> bytes;
    LV2_URID type;
    std::uint32_t flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
  };

  StoredState() = default;
  /// What another program might store of an effect.
  explicit StoredState(Plug& plug) {
    void* chunk = nullptr;
    const auto size = plug.getChunk(&chunk, false);
    const auto* const bytes = static_cast<const char*>(chunk);
    values[UridMap::map(lv2::kChunkUri)] = {{bytes, bytes + size}, UridMap::map(LV2_ATOM__Chunk)};
  }
  static LV2_State_Status store(LV2_State_Handle handle, std::uint32_t key, const void* value,
                                std::size_t size, std::uint32_t type, std::uint32_t flags) {
    const HostMemory own;
    auto& state = *static_cast<StoredState*>(handle);
    if (key == state.refused) return LV2_STATE_ERR_NO_SPACE;
    const auto* const bytes = static_cast<const char*>(value);
    state.values[key] = {{bytes, bytes + size}, type, flags};
    return LV2_STATE_SUCCESS;
  }
  static const void* retrieve(LV2_State_Handle handle, std::uint32_t key, std::size_t* size,
                              std::uint32_t* type, std::uint32_t* flags) {
    auto& values = static_cast<StoredState*>(handle)->values;
    const auto found = values.find(key);
    if (found == values.end()) return nullptr;
    *size = found->second.bytes.size();
    *type = found->second.type;
    *flags = found->second.flags;
    return found->second.bytes.empty() ? "" : found->second.bytes.data();
  }

  std::map<LV2_URID, Value> values;
  LV2_URID refused = 0;  ///< the host has no room for it
};

/// The built library.
struct Lv2Library {
  explicit Lv2Library(const std::string& path) : library(path) {
    library.find(find, "lv2_descriptor");
  }
  const SharedLibrary library;
  const LV2_Descriptor* (*find)(std::uint32_t) = nullptr;
};

/// A host of one instance: memory for all ports, a worker that runs when the test says so, and a
/// record of the changes that the plug-in asks for.
class Lv2Rig {
 public:
  enum Worker { kNoWorker, kWorker };
  using Settings = std::initializer_list<std::pair<const char*, float>>;
  static constexpr std::uint32_t kMostFrames = 8192;

  explicit Lv2Rig(const lv2::PortLayout& plugin, double rate = 48000.0, Worker worker = kWorker,
                  const Settings& settings = {}, LV2_Descriptor_Function find = &lv2_descriptor)
      : layout(plugin), controls(static_cast<std::size_t>(plugin.count())) {
    const LV2_Feature map = {LV2_URID__map, UridMap::feature()};
    const LV2_Feature schedule = {LV2_WORKER__schedule, &workerFeature};
    const LV2_Feature change = {lv2::kPortChangeRequestUri, &changeFeature};
    const LV2_Feature log = {LV2_LOG__log, &logFeature};
    const std::array<const LV2_Feature*, 5> features = {
        &map, &change, &log, worker == kWorker ? &schedule : nullptr, nullptr};
    for (std::uint32_t i = 0; (descriptor = find(i)) != nullptr; ++i) {
      if (std::strcmp(descriptor->URI, layout.uri) == 0) break;
    }
    instance = descriptor->instantiate(descriptor, rate, "", features.data());
    connectAll();
    requests.reserve(100000);
    set(settings);
    descriptor->activate(instance);
  }
  ~Lv2Rig() { descriptor->cleanup(instance); }
  Lv2Rig(const Lv2Rig&) = delete;
  Lv2Rig& operator=(const Lv2Rig&) = delete;

  [[nodiscard]] float& control(int port) { return controls[static_cast<std::size_t>(port)]; }
  [[nodiscard]] float& parameter(int id) {
    return control(layout.firstParameter() + lv2::placeOfParameter(id));
  }
  [[nodiscard]] float& parameter(const char* identifier) {
    return parameter(parameterKeyTable().find(identifier));
  }
  void set(const Settings& settings) {
    for (const auto& [identifier, plain] : settings) parameter(identifier) = plain;
  }
  [[nodiscard]] int latency() { return static_cast<int>(control(layout.latency())); }

  void connect(int port, void* data) const {
    descriptor->connect_port(instance, static_cast<std::uint32_t>(port), data);
  }
  /// One call of the host's audio thread, checked, then what the worker has to do.
  void run(std::uint32_t frames) {
    prepareEvents();
    if (control(layout.freewheel()) > 0.0F) {
      descriptor->run(instance, frames);
    } else {
      const RealTimeCheck check;
      descriptor->run(instance, frames);
    }
    midi.clear();
  }
  void runAndWork(int blocks, std::uint32_t frames) {
    for (int block = 0; block < blocks; ++block) {
      run(frames);
      work();
    }
  }
  void work() {
    if (!works || !std::exchange(workAsked, false)) return;
    ++jobs;
    interface<LV2_Worker_Interface>(LV2_WORKER__interface)
        ->work(instance, nullptr, nullptr, 0, nullptr);
  }
  template <typename Interface>
  [[nodiscard]] const Interface* interface(const char* uri) const {
    return static_cast<const Interface*>(descriptor->extension_data(uri));
  }
  LV2_State_Status saveTo(StoredState& state) const {
    return interface<LV2_State_Interface>(LV2_STATE__interface)
        ->save(instance, &StoredState::store, &state, 0, nullptr);
  }
  [[nodiscard]] StoredState save() const {
    StoredState state;
    EXPECT_EQ(saveTo(state), LV2_STATE_SUCCESS);
    return state;
  }
  [[nodiscard]] std::vector<char> chunk() const {
    return save().values.at(UridMap::map(lv2::kChunkUri)).bytes;
  }
  LV2_State_Status restore(StoredState state) {
    return interface<LV2_State_Interface>(LV2_STATE__interface)
        ->restore(instance, &StoredState::retrieve, &state, 0, nullptr);
  }

  /// Changes of the state that the plug-in noted in the last run, as its block began.
  [[nodiscard]] int stateChanges() const {
    const auto* const sequence = reinterpret_cast<const LV2_Atom_Sequence*>(notes.data());
    EXPECT_EQ(sequence->atom.type, UridMap::map(LV2_ATOM__Sequence));
    int count = 0;
    LV2_ATOM_SEQUENCE_FOREACH(sequence, event) {
      const auto* const object = reinterpret_cast<const LV2_Atom_Object*>(&event->body);
      const bool isInTime = event->time.frames == 0;
      count += isInTime && object->body.otype == UridMap::map(LV2_STATE__StateChanged) ? 1 : 0;
    }
    return count;
  }
  /// Whether nothing was noted beyond the room for it.
  [[nodiscard]] bool isNotifyGuarded() const {
    const auto room = static_cast<std::ptrdiff_t>(std::max(notifyBytes, sizeof(LV2_Atom)));
    return std::count(notes.begin() + room, notes.end(), kGuard) ==
           notes.end() - notes.begin() - room;
  }

  const lv2::PortLayout& layout;
  std::array<std::vector<float>, 2> in, out, side;
  std::vector<std::array<std::uint8_t, 3>> midi;  // for the next run
  std::vector<std::pair<int, float>> requests;    // parameters, and the plain values asked for
  int jobs = 0;
  int errors = 0;  // in the host's log
  bool workerAccepts = true;
  bool works = true;       // else it takes jobs and loses them
  bool movesPorts = true;  // when it is asked to; else it says so and leaves them for later
  lv2::PortChangeStatus requestStatus = lv2::kPortChangeSuccess;
  std::size_t notifyBytes = 2048;  // room for what the plug-in notes
  const LV2_Descriptor* descriptor = nullptr;
  LV2_Handle instance = nullptr;

 private:
  void connectAll() {
    const auto channel = [this](std::vector<float>& buffer, int port) {
      buffer.assign(kMostFrames, 0.0F);
      connect(port, buffer.data());
    };
    for (std::size_t c = 0; c < static_cast<std::size_t>(layout.mainChannels); ++c) {
      channel(in[c], layout.input(static_cast<int>(c)));
      channel(out[c], layout.output(static_cast<int>(c)));
    }
    for (std::size_t c = 0; c < static_cast<std::size_t>(layout.sideChannels); ++c) {
      channel(side[c], layout.sidechain(static_cast<int>(c)));
    }
    connect(layout.control(), events.data());
    connect(layout.notify(), notes.data());
    for (int port = layout.latency(); port < layout.count(); ++port) connect(port, &control(port));
    control(layout.enabled()) = 1.0F;
    for (int id = 0; id < kNumParams; ++id) {
      parameter(id) = kParameterTable[static_cast<std::size_t>(id)].value;
    }
  }

  void prepareEvents() {
    LV2_Atom_Forge forge;
    lv2_atom_forge_init(&forge, UridMap::feature());
    lv2_atom_forge_set_buffer(&forge, reinterpret_cast<std::uint8_t*>(events.data()),
                              sizeof events);
    LV2_Atom_Forge_Frame frame;
    lv2_atom_forge_sequence_head(&forge, &frame, 0);
    for (auto message : midi) {
      // Each is followed by what would move back and is no MIDI.
      for (const char* const type : {LV2_MIDI__MidiEvent, LV2_ATOM__Chunk}) {
        lv2_atom_forge_frame_time(&forge, 0);
        lv2_atom_forge_atom(&forge, 3, UridMap::map(type));
        lv2_atom_forge_write(&forge, message.data(), 3);
        message[2] ^= 0x7F;
      }
    }
    lv2_atom_forge_pop(&forge, &frame);
    notes.fill(kGuard);
    const auto room = static_cast<std::uint32_t>(std::max(notifyBytes, sizeof(LV2_Atom)));
    const LV2_Atom head = {room - std::uint32_t{sizeof head}, UridMap::map(LV2_ATOM__Chunk)};
    std::memcpy(notes.data(), &head, sizeof head);
  }

  static LV2_Worker_Status schedule(LV2_Worker_Schedule_Handle handle, std::uint32_t /*size*/,
                                    const void* /*data*/) {
    auto* const rig = static_cast<Lv2Rig*>(handle);
    if (!rig->workerAccepts) return LV2_WORKER_ERR_NO_SPACE;
    rig->workAsked = true;
    return LV2_WORKER_SUCCESS;
  }
  static lv2::PortChangeStatus requestChange(void* handle, std::uint32_t port, float value) {
    auto* const rig = static_cast<Lv2Rig*>(handle);
    const int place = static_cast<int>(port) - rig->layout.firstParameter();
    rig->requests.emplace_back(lv2::parameterInPlace(place), value);
    if (rig->movesPorts) rig->control(static_cast<int>(port)) = value;
    return rig->requestStatus;
  }

  static constexpr char kGuard = '\x5a';

  std::vector<float> controls;  // by port
  alignas(8) std::array<char, 4096> events{};
  alignas(8) std::array<char, 4096> notes{};
  LV2_Worker_Schedule workerFeature = {this, &Lv2Rig::schedule};
  lv2::PortChangeRequest changeFeature = {this, &Lv2Rig::requestChange};
  LV2_Log_Log logFeature = {
      &errors, nullptr, [](LV2_Log_Handle count, LV2_URID type, const char* /*text*/, va_list) {
        return *static_cast<int*>(count) += type == UridMap::map(LV2_LOG__Error) ? 1 : 0;
      }};
  bool workAsked = false;
};
