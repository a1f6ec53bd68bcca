// What keys do to the handles of any frequency graph.

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "editing/graph_nodes.h"
#include "editor/controls/value_keys.h"
#include "graphs/eq_graph_base.h"

int EQGraphBase::nextHandle(bool forward) {
  freshenHandles();
  std::vector<int> order;
  for (int i = 0; i < 2 * numBands; ++i) {
    if (handleOf(i).isActive) order.push_back(i);
  }
  std::ranges::stable_sort(
      order, [this](int a, int b) { return handleOf(a).centre.x < handleOf(b).centre.x; });
  if (!forward) std::ranges::reverse(order);
  if (walked >= order.size()) return -1;
  ++walked;
  auto next = std::ranges::find(order, keyHandle);
  if (next != order.end()) ++next;
  return keyHandle = next != order.end() ? *next : order.front();
}

double EQGraphBase::keyFactor(const KeyEvent& key, double columns) const {
  constexpr double kFineKey = 0.1;
  const double step =
      (key.key == Key::kLeft ? -columns : columns) * (key.modifiers.has(kShift) ? kFineKey : 1.0);
  return frequencies.frequencyAt(step) / frequencies.frequencyAt(0.0);
}

bool EQGraphBase::isGainKey(const KeyEvent& key) {
  return key.key == Key::kUp || key.key == Key::kDown || key.key == Key::kPageUp ||
         key.key == Key::kPageDown;
}

bool EQGraphBase::moveByKey(int handle, const KeyEvent& key, double columns) {
  if (isGainKey(key)) {
    const std::int32_t gain = bandParameter(kNodeGain, handle);
    if (gain < 0) return false;
    if (const auto moved = parameterByKey(values, gain, values.valueOf(gain), key)) {
      edit(gain, *moved);
    }
    return true;
  }
  if (key.key != Key::kLeft && key.key != Key::kRight) return false;
  const std::int32_t frequency = bandParameter(kNodeFrequency, handle);
  if (frequency < 0) return false;
  const double factor = keyFactor(key, columns);
  const double now = static_cast<double>(getBandValue(kNodeFrequency, handle));
  edit(frequency, values.normalisedOf(frequency, static_cast<float>(now * factor)));
  return true;
}
