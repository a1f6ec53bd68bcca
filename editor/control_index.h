#pragma once

#include <cstdint>
#include <vector>

#include "toolkit/control.h"
#include "toolkit/view_container.h"

/// All controls of a tree with their tags, in the order of the tree: several may share a tag. A
/// container with the face of a control is among them by a wrapper. Threads: as `CView`.
class ControlIndex {
 public:
  void build(CViewContainer& root);
  void clear();
  /// Tags of controls have changed.
  void refreshTags();

  [[nodiscard]] int getControlCount() const noexcept { return static_cast<int>(controls.size()); }
  /// -1 and null for an index that is none.
  [[nodiscard]] std::int32_t getControlTag(int index) const noexcept;
  [[nodiscard]] CControl* getControl(int index) const noexcept;
  /// The next index after `afterIndex`, -1 for none; from -1 on the first.
  [[nodiscard]] int findNextControlWithTag(std::int32_t tag, int afterIndex = -1) const noexcept;
  /// The `which`th control of a tag, 0 for the first; null for none.
  [[nodiscard]] CControl* find(std::int32_t tag, int which = 0) const noexcept;

  /// Calls `act` with every control of a tag.
  template <typename Act>
  void forEach(std::int32_t tag, Act&& act) const {
    for (int i = findNextControlWithTag(tag); i >= 0; i = findNextControlWithTag(tag, i)) {
      act(*getControl(i));
    }
  }

 private:
  void add(CViewContainer& container);

  std::vector<Held<CControl>> controls;
  std::vector<std::int32_t> tags;
  std::vector<int> firstOfTag;     // by tag, -1 for none
  std::vector<int> nextOfSameTag;  // by index, -1 for none
};
