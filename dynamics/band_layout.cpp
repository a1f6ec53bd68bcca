#include "dynamics/band_layout.h"

#include <algorithm>
#include <bit>
#include <initializer_list>
#include <numeric>
#include <utility>

#include "platform/index.h"

BandLayout::BandLayout() {
  state[0] = true;
  isXover.fill(true);
  frequency.fill(1000.0);
  xover = {0};
  off = {1, 2, 3, 4, 5, 6, 7};
  rebuildOrder();
}

bool BandLayout::decodeOrder(double value, Order& decoded) noexcept {
  if (!(value >= 0.0 && value <= 1.0)) return false;
  auto bits = static_cast<std::uint32_t>(value * kOrderScale);
  std::uint32_t missing = 0xff;
  for (std::size_t i = 0; i + 1 < decoded.size(); ++i) {
    const std::uint32_t digit = bits & 7U;
    decoded[i] = static_cast<std::int32_t>(digit);
    missing ^= 1U << digit;
    bits >>= 3U;
  }
  if (!std::has_single_bit(missing)) return false;
  decoded.back() = std::countr_zero(missing);
  return true;
}

bool BandLayout::sortIntoLists(const Order& wanted, Lists& lists) const {
  std::size_t list = kPreList;
  for (const std::int32_t band : wanted) {
    const auto index = static_cast<std::size_t>(band);
    const auto fits = [active = state[index], crossover = isXover[index]](std::size_t candidate) {
      if (candidate == kOffList) return !active;
      return active && crossover == (candidate == kXoverList);
    };
    while (list < kOffList && !fits(list)) ++list;
    if (!fits(list)) return false;
    lists[list].push_back(band);
  }
  const List& rising = lists[kXoverList];
  const auto notBelow = [this](std::int32_t a, std::int32_t b) {
    return !(frequency[at(a)] < frequency[at(b)]);
  };
  return std::adjacent_find(rising.begin(), rising.end(), notBelow) == rising.end();
}

bool BandLayout::applyBandOrder(double value) {
  Order wanted{};
  if (!decodeOrder(value, wanted)) return false;
  const Scope lock(*this);
  Lists lists;
  if (!sortIntoLists(wanted, lists)) return false;
  if (lists != Lists{pre, xover, post, off}) takeLists(std::move(lists));
  return true;
}

void BandLayout::arrangeBands(double value) {
  Order told{};
  if (!decodeOrder(value, told)) std::iota(told.begin(), told.end(), 0);
  const Scope lock(*this);
  Lists lists;
  for (const std::int32_t band : told) {
    lists[listFor(band, !lists[kXoverList].empty())].push_back(band);
  }
  std::ranges::stable_sort(lists[kXoverList], {},
                           [this](std::int32_t band) { return frequency[at(band)]; });
  takeLists(std::move(lists));
}

std::size_t BandLayout::listFor(std::int32_t band, bool behindCrossover) const {
  const auto index = static_cast<std::size_t>(band);
  if (!state[index]) return kOffList;
  if (isXover[index]) return kXoverList;
  return behindCrossover ? kPostList : kPreList;
}

void BandLayout::takeLists(Lists&& lists) {
  pre = std::move(lists[kPreList]);
  xover = std::move(lists[kXoverList]);
  post = std::move(lists[kPostList]);
  off = std::move(lists[kOffList]);
  rebuildOrder();
}

double BandLayout::bandOrderValue() {
  const Scope lock(*this);
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i + 1 < order.size(); ++i) {
    bits |= static_cast<std::uint32_t>(order[i]) << (3U * i);
  }
  return bits / kOrderScale;
}

BandLayout::List& BandLayout::listNumber(int list) noexcept {
  switch (list) {
    case kPreList:
      return pre;
    case kXoverList:
      return xover;
    case kPostList:
      return post;
    default:
      return off;
  }
}

void BandLayout::moveBand(int band, int list, double newFrequency) {
  if (!isBand(band) || list < kPreList || list > kOffList) return;
  const auto index = static_cast<std::size_t>(band);
  const Scope lock(*this);
  const double hz = newFrequency == 0.0 ? frequency[index] : newFrequency;
  List& target = listNumber(list);
  if (std::find(target.begin(), target.end(), band) != target.end()) return;
  target.reserve(target.size() + 1);  // first: running out of memory later would lose a band
  for (List* source : {&pre, &xover, &post, &off}) std::erase(*source, band);
  const auto place = std::find_if(target.begin(), target.end(), [this, hz](std::int32_t other) {
    return frequency[at(other)] >= hz;
  });
  target.insert(place, band);
  isXover[index] = list == kXoverList;
  state[index] = list != kOffList;
  frequency[index] = hz;
  rebuildOrder();
}

BandLayout::Place BandLayout::placeOf(int band) {
  const Scope lock(*this);
  for (int list = kPreList; list <= kOffList; ++list) {
    const List& bands = listNumber(list);
    const auto found = std::find(bands.begin(), bands.end(), band);
    if (found != bands.end()) return {list, static_cast<int>(found - bands.begin())};
  }
  return {};
}

int BandLayout::crossoverIndex(int band) {
  const Place place = placeOf(band);
  return place.list == kXoverList ? place.index : -1;
}

BandLayout::List BandLayout::copyOf(const List& list) {
  const Scope lock(*this);
  return list;
}

void BandLayout::rebuildOrder() {
  orderList.clear();
  for (const List* list : {&pre, &xover, &post, &off}) {
    orderList.insert(orderList.end(), list->begin(), list->end());
  }
  std::copy_n(orderList.begin(), kNumBands, order.begin());
  ++changes;
}
