#include "editor/control_index.h"

#include <algorithm>
#include <utility>

#include "editor/controls/pages.h"

void ControlIndex::build(CViewContainer& root) {
  clear();
  add(root);
  refreshTags();
}

void ControlIndex::clear() {
  controls.clear();
  refreshTags();
}

void ControlIndex::add(CViewContainer& container) {
  for (std::size_t i = 0; i < container.getViewCount(); ++i) {
    CView* const view = container.getView(i);
    if (auto* const control = dynamic_cast<CControl*>(view)) controls.emplace_back(control);
    if (auto* const face = dynamic_cast<iControl*>(view)) {
      controls.push_back(Held<CControl>::adopt(new iControlWrapper(*face)));
    }
    if (auto* const inner = dynamic_cast<CViewContainer*>(view)) add(*inner);
  }
}

void ControlIndex::refreshTags() {
  tags.clear();
  for (const Held<CControl>& control : controls) tags.push_back(control->getTag());
  const std::int32_t highest = tags.empty() ? -1 : *std::ranges::max_element(tags);
  firstOfTag.assign(static_cast<std::size_t>(highest) + 1, -1);
  nextOfSameTag.assign(tags.size(), -1);
  for (std::size_t i = tags.size(); i-- > 0;) {
    if (tags[i] < 0) continue;
    int& first = firstOfTag[static_cast<std::size_t>(tags[i])];
    nextOfSameTag[i] = std::exchange(first, static_cast<int>(i));
  }
}

std::int32_t ControlIndex::getControlTag(int index) const noexcept {
  return index >= 0 && index < getControlCount() ? tags[static_cast<std::size_t>(index)] : -1;
}

CControl* ControlIndex::getControl(int index) const noexcept {
  return index >= 0 && index < getControlCount() ? controls[static_cast<std::size_t>(index)].get()
                                                 : nullptr;
}

int ControlIndex::findNextControlWithTag(std::int32_t tag, int afterIndex) const noexcept {
  if (afterIndex >= 0 && tag >= 0 && getControlTag(afterIndex) == tag) {
    return nextOfSameTag[static_cast<std::size_t>(afterIndex)];
  }
  const auto place = static_cast<std::size_t>(tag);
  int index = afterIndex + 1;
  if (afterIndex < 0 && tag >= 0) index = place < firstOfTag.size() ? firstOfTag[place] : -1;
  while (index >= 0 && index < getControlCount() && getControlTag(index) != tag) ++index;
  return index < getControlCount() ? index : -1;
}

CControl* ControlIndex::find(std::int32_t tag, int which) const noexcept {
  int index = findNextControlWithTag(tag);
  while (index >= 0 && which-- > 0) index = findNextControlWithTag(tag, index);
  return getControl(index);
}
