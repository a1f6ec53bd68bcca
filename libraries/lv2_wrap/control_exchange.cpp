#include "libraries/lv2_wrap/control_exchange.h"

#include <cstddef>

namespace lv2 {

namespace {

constexpr auto kAlone = std::memory_order_relaxed;

std::size_t at(int id) noexcept { return static_cast<std::size_t>(id); }

}  // namespace

ControlExchange::ControlExchange(Plug& whose) : effect(whose) {
  for (int id = 0; id < kNumParams; ++id) ports[at(id)].store(plainNow(id), kAlone);
  rememberAll();
}

void ControlExchange::offer(int id, float plain) noexcept {
  ports[at(id)].store(plain, kAlone);
  offered.set(id);
}

float ControlExchange::portValue(int id) const noexcept { return ports[at(id)].load(kAlone); }

float ControlExchange::plainNow(int id) const noexcept {
  return id == kABBank ? static_cast<float>(effect.getCurrentBank()) : effect.getPlainValue(id);
}

/// The bank selector does not follow when a loaded state brings another live bank.
float ControlExchange::normalisedNow(int id) const noexcept {
  return id == kABBank ? effect.plainToNormalised(id, plainNow(id)) : effect.normalisedValue(id);
}

void ControlExchange::deliver() {
  const std::lock_guard guard(delivering);
  if (!offered.any()) return;
  const bool isAlone = alone.exchange(false, kAlone);
  {
    const Plug::UpdateHold together(effect);
    // A switch of banks exchanges the values of all others, so it comes before them.
    if (offered.take(kABBank)) deliverOne(kABBank, isAlone);
    offered.takeAll([this, isAlone](int id) { deliverOne(id, isAlone); });
    // New filters at once: whoever moves a port has waited for its block already.
    effect.updateDsp(true);
  }
  effect.updateLatency();
  for (int id = 0; id < kNumParams; ++id) {
    if (normalisedNow(id) != known[at(id)]) changedInside.set(id);
  }
  rememberAll();
}

void ControlExchange::deliverOne(int id, bool isAlone) {
  const float normalised = effect.plainToNormalised(id, portValue(id));
  known[at(id)] = normalised;
  if (normalisedNow(id) == normalised) return;
  if (!isAlone) {
    effect.setParameter(id, normalised);
  } else if (!effect.isLocked(id)) {
    effect.PlugBaseJSON::setParameter(id, normalised);
  }
}

void ControlExchange::findInsideChanges() {
  const std::lock_guard guard(delivering);
  for (int id = 0; id < kNumParams; ++id) {
    const float now = normalisedNow(id);
    if (now == known[at(id)]) continue;
    known[at(id)] = now;
    changedInside.set(id);
  }
}

void ControlExchange::rememberAll() noexcept {
  for (int id = 0; id < kNumParams; ++id) known[at(id)] = normalisedNow(id);
}

}  // namespace lv2
