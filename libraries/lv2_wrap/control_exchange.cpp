#include "libraries/lv2_wrap/control_exchange.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>

#include "platform/index.h"

namespace lv2 {

namespace {

/// Whether values that are played must not overtake this one.
bool comesBeforePlaying(int id) noexcept { return id == kABBank || isLiveParameter(id); }

}  // namespace

ControlExchange::ControlExchange(Plug& whose) : effect(whose) {
  for (int id = 0; id < kNumParams; ++id) {
    ports[at(id)].store(plainNow(id), std::memory_order_relaxed);
    held[at(id)].store(plainNow(id), std::memory_order_relaxed);
  }
  rememberAll();
}

void ControlExchange::offer(int id, float plain) noexcept {
  ports[at(id)].store(plain, std::memory_order_relaxed);
  offered.set(id);
  if (comesBeforePlaying(id)) isOfferHeard.store(true, std::memory_order_release);
}

void ControlExchange::play(int id, float plain) noexcept {
  ports[at(id)].store(plain, std::memory_order_relaxed);
  held[at(id)].store(plain, std::memory_order_relaxed);
  const float normalised = normalisedOf(id, plain);
  if (normalisedNow(id) != normalised) effect.parameterInput().setFromAudio(id, normalised);
  know(id, normalised);  // last: else the message thread would see a change from inside
}

void ControlExchange::playAlone(int id, float plain) noexcept {
  const float normalised = normalisedOf(id, plain);
  if (normalisedNow(id) == normalised || effect.isLocked(id)) return;
  effect.parameterInput().putFromAudio(id, normalised);
}

bool ControlExchange::mayPlay() const noexcept {
  // In this order: a delivery forgets what it has heard of after it is marked.
  return !isOfferHeard.load(std::memory_order_acquire) &&
         !isDelivering.load(std::memory_order_acquire);
}

float ControlExchange::knownOf(int id) const noexcept {
  return known[at(id)].load(std::memory_order_relaxed);
}

void ControlExchange::know(int id, float normalised) noexcept {
  known[at(id)].store(normalised, std::memory_order_relaxed);
}

void ControlExchange::confirm(int id, float plain) noexcept {
  ports[at(id)].store(plain, std::memory_order_relaxed);
  confirmed.set(id);
}

bool ControlExchange::isLoaded() const noexcept {
  return loads.load(std::memory_order_acquire) != takenLoads.load(std::memory_order_acquire);
}

void ControlExchange::takeLoading() noexcept {
  const unsigned newest = loads.load(std::memory_order_acquire);
  offered.takeAll([](int /*id*/) {});
  confirmed.takeAll([](int /*id*/) {});
  isOfferHeard.store(false, std::memory_order_relaxed);
  alone.store(true, std::memory_order_relaxed);
  takenLoads.store(newest, std::memory_order_release);
}

void ControlExchange::assumePort(int id, float plain) noexcept {
  held[at(id)].store(plain, std::memory_order_relaxed);
}

float ControlExchange::heldByPort(int id) const noexcept {
  return held[at(id)].load(std::memory_order_relaxed);
}

float ControlExchange::portValue(int id) const noexcept {
  return ports[at(id)].load(std::memory_order_relaxed);
}

float ControlExchange::plainNow(int id) const noexcept {
  return id == kABBank ? static_cast<float>(effect.getCurrentBank()) : effect.getPlainValue(id);
}

/// The normalised value; for the bank selector, whose value may lie anywhere in the live bank's
/// step, that of the live bank.
float ControlExchange::normalisedNow(int id) const noexcept {
  return id == kABBank ? effect.plainToNormalised(id, plainNow(id)) : effect.normalisedValue(id);
}

/// Ports of switches are on above 0, the parameters at 1.
float ControlExchange::normalisedOf(int id, float portPlain) const noexcept {
  if (effect.parameterInfo(id).curve == kCurveSwitch) return portPlain > 0.0F ? 1.0F : 0.0F;
  return effect.plainToNormalised(id, portPlain);
}

void ControlExchange::deliver() {
  const std::lock_guard guard(delivering);
  deliverNews();
}

void ControlExchange::deliverNews() {
  if (isLoaded()) return;
  confirmed.takeAll(
      [this](int id) { held[at(id)].store(portValue(id), std::memory_order_relaxed); });
  if (!offered.any() && !effect.isUpdateMissing()) return;
  std::optional<Raised> busy(std::in_place, isDelivering);
  isOfferHeard.exchange(false, std::memory_order_acq_rel);
  const News news = takeOffered();
  if (!news.bank && std::ranges::none_of(news.others(), comesBeforePlaying)) busy.reset();
  {
    const UpdateHold together(effect.updates());
    deliverOffered(news, alone.exchange(false, std::memory_order_relaxed));
    // New filters at once: a moved port has already waited for its block.
    effect.updateDsp(true);
  }
  effect.updateLatency();
  markInsideChanges();
}

ControlExchange::News ControlExchange::takeOffered() noexcept {
  News news;
  news.bank = offered.take(kABBank);
  offered.takeAll([&news](int id) { news.ids[news.count++] = id; });
  return news;
}

void ControlExchange::deliverOffered(const News& news, bool isAlone) {
  // Switching banks replaces all other values, so it comes first.
  if (news.bank) deliverOne(kABBank, isAlone);
  for (const int id : news.others()) deliverOne(id, isAlone);
  // Again where links have replaced a port's value by that of another port.
  for (const int id : news.others()) {
    if (normalisedNow(id) != knownOf(id)) deliverOne(id, true);
  }
}

void ControlExchange::deliverOne(int id, bool isAlone) {
  const float plain = portValue(id);
  const float normalised = normalisedOf(id, plain);
  held[at(id)].store(plain, std::memory_order_relaxed);
  know(id, normalised);
  if (normalisedNow(id) == normalised) return;
  if (!isAlone) {
    effect.setParameter(id, normalised);
  } else if (!effect.isLocked(id)) {
    effect.parameterInput().put(id, normalised);
  }
}

void ControlExchange::findInsideChanges() {
  const std::lock_guard guard(delivering);
  markInsideChanges();
}

/// Marks parameters that differ from `known`. Reads each value once, since a controller may move
/// it.
void ControlExchange::markInsideChanges() noexcept {
  for (int id = 0; id < kNumParams; ++id) {
    const float now = normalisedNow(id);
    if (now == knownOf(id)) continue;
    know(id, now);
    changedInside.set(id);
  }
}

void ControlExchange::rememberAll() noexcept {
  for (int id = 0; id < kNumParams; ++id) know(id, normalisedNow(id));
}

void ControlExchange::markAgainstPorts() noexcept {
  constexpr float kLeastDifference = 2e-9F;  // documents keep values to ten places
  for (int id = 0; id < kNumParams; ++id) {
    const float plain = heldByPort(id);
    if (std::isnan(plain) || plain == plainNow(id)) continue;
    const float difference = normalisedOf(id, plain) - normalisedNow(id);
    if (std::abs(difference) > kLeastDifference) unlikePorts.set(id);
  }
}

}  // namespace lv2
