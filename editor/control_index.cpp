#include "editor/control_index.h"

#include "editor/controls/pages.h"

void ControlIndex::build(CViewContainer& root) {
  clear();
  add(root);
  refreshTags();
}

void ControlIndex::clear() {
  controls.clear();
  tags.clear();
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
}

std::int32_t ControlIndex::getControlTag(int index) const noexcept {
  return index >= 0 && index < getControlCount() ? tags[static_cast<std::size_t>(index)] : -1;
}

CControl* ControlIndex::getControl(int index) const noexcept {
  return index >= 0 && index < getControlCount() ? controls[static_cast<std::size_t>(index)].get()
                                                 : nullptr;
}

int ControlIndex::findNextControlWithTag(std::int32_t tag, int afterIndex) const noexcept {
  for (int i = afterIndex + 1; i < getControlCount(); ++i) {
    if (getControlTag(i) == tag) return i;
  }
  return -1;
}

CControl* ControlIndex::find(std::int32_t tag, int which) const noexcept {
  int index = findNextControlWithTag(tag);
  while (index >= 0 && which-- > 0) index = findNextControlWithTag(tag, index);
  return getControl(index);
}
