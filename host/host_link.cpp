#include "host/host_link.h"

#include <cassert>

#include "platform/index.h"

HostLink::HostLink(AEffect& effect, AudioMasterCallback audioMaster, const ParameterStore& store,
                   EngineLink& link)
    : record(effect),
      callback(audioMaster),
      values(store),
      engine(link),
      echoes(at(store.count())) {
  assert(echoes.size() <= kMostParameters);
}

std::intptr_t HostLink::tell(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                             void* ptr, float opt) {
  if (callback == nullptr || keepsMessage(opcode, index)) return 0;
  return callback(&record, opcode, index, value, ptr, opt);
}

std::array<char, 256> HostLink::vendor() {
  std::array<char, 256> answer{};
  tell(kHostGetVendor, 0, 0, answer.data());
  answer.back() = '\0';
  return answer;
}

void HostLink::tellGesture(std::int32_t index, bool begins) {
  if (!values.contains(index) || gesturesOff.load(std::memory_order_relaxed)) return;
  tell(begins ? kHostBeginEdit : kHostEndEdit, index);
}

void HostLink::tellValue(std::int32_t index) {
  expectEcho(index);
  tell(kHostAutomate, index, 0, nullptr, values.normalised(index));
}

void HostLink::tellInGesture(std::int32_t index) {
  tellGesture(index, true);
  tellValue(index);
  tellGesture(index, false);
}

void HostLink::expectEcho(std::int32_t index) noexcept {
  if (values.contains(index)) echoes[at(index)].store({values.normalised(index), 1});
}

bool HostLink::isEcho(std::int32_t index, float normalised) noexcept {
  if (!values.contains(index)) return false;
  const Echo expected = echoes[at(index)].load();
  if (expected.isDue == 0) return false;
  // Hosts that count steps send a value back rounded to its step.
  const bool isSame =
      normalised == expected.normalised ||
      (values.stepCount(index) > 0 &&
       values.toPlain(index, normalised) == values.toPlain(index, expected.normalised));
  if (isSame && values.normalised(index) == expected.normalised) return true;
  echoes[at(index)].store({});
  return false;
}

void HostLink::declareLatency(std::int32_t samples) {
  const auto before = std::atomic_ref<std::int32_t>(record.initialDelay)
                          .exchange(samples, std::memory_order_relaxed);
  if (before != samples) tell(kHostIoChanged);
}

void HostLink::tellProgramChanged() { tell(kHostVendorSpecific, kProgramChanged); }

bool HostLink::keepsMessage(std::int32_t opcode, std::int32_t index) noexcept {
  // Only the thread itself makes itself the owner, so what it reads about itself is up to date.
  return stateOwner.load(std::memory_order_relaxed) == std::this_thread::get_id() &&
         outermostScope->keep(opcode, index);
}

HostLink::StateScope::StateScope(HostLink& link) : host(link) {
  host.stateMutex.lock();
  isOutermost = host.outermostScope == nullptr;
  if (!isOutermost) return;
  host.outermostScope = this;
  host.stateOwner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

HostLink::StateScope::~StateScope() {
  if (isOutermost) {
    host.stateOwner.store({}, std::memory_order_relaxed);
    host.outermostScope = nullptr;
  }
  host.stateMutex.unlock();
  if (isOutermost) tellHost();
}

bool HostLink::StateScope::keep(std::int32_t opcode, std::int32_t index) noexcept {
  switch (opcode) {
    case kHostAutomate:
      if (host.values.contains(index)) automated.set(at(index));
      return true;
    case kHostBeginEdit:
    case kHostEndEdit:  // gestures are sent together with the values
      return true;
    case kHostVendorSpecific:
      programChanged = programChanged || index == kProgramChanged;
      return index == kProgramChanged;
    case kHostIoChanged:
      latencyChanged = true;
      return true;
    default:
      return false;
  }
}

void HostLink::StateScope::tellHost() {
  if (programChanged) host.tellProgramChanged();
  if (automated.any()) {
    const UpdateHold hold(host.engine);  // the host may send values back
    for (std::int32_t i = 0; i < host.values.count(); ++i) {
      if (automated.test(at(i))) host.tellInGesture(i);
    }
  }
  if (latencyChanged) host.tell(kHostIoChanged);
}

HostLink::ChangedValues::ChangedValues(HostLink& link) : host(link), scope(link) {
  for (std::int32_t i = 0; i < host.values.count(); ++i) before[at(i)] = host.values.normalised(i);
}

void HostLink::ChangedValues::tell() {
  scope.reset();  // sends what the scope has kept: the host learns first that the program changed
  for (std::int32_t i = 0; i < host.values.count(); ++i) {
    if (host.values.normalised(i) != before[at(i)]) {
      host.tellValue(i);
    } else {
      host.expectEcho(i);
    }
  }
}
