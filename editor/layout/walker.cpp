#include "editor/layout/walker.h"

#include <cstdio>
#include <vector>

#include "editor/layout/layout_tree.h"
#include "editor/layout/tag_table.h"

namespace {

/// Whole pixels; what exceeds 32 bits wraps.
struct Place {
  std::uint32_t x = 0;
  std::uint32_t y = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

float asFloat(std::uint32_t number) noexcept {
  return static_cast<float>(static_cast<std::int32_t>(number));
}

std::uint32_t numberOf(const LayoutNode& node, const char* name) noexcept {
  return static_cast<std::uint32_t>(getAttributeInt(&node, name));
}

CPoint pointOf(const LayoutNode& node, const char* x, const char* y) noexcept {
  return {asFloat(numberOf(node, x)), asFloat(numberOf(node, y))};
}

Place placeOf(const LayoutNode& node, const Place& previous) noexcept {
  const bool isRightOf = hasAttribute(node.attr, "_x");
  const bool isBelow = hasAttribute(node.attr, "_y");
  return {isRightOf ? numberOf(node, "_x") + previous.x + previous.width : numberOf(node, "x"),
          isBelow ? numberOf(node, "_y") + previous.y + previous.height : numberOf(node, "y"),
          numberOf(node, "width"), numberOf(node, "height")};
}

std::int32_t tagOf(const LayoutNode& node) {
  const char* const name = getAttributeText(&node, "tag");
  return name == nullptr ? -1 : tagTable().find(name);
}

LayoutElement elementOf(const LayoutNode& node, const Place& place, CViewContainer* parent) {
  const CRect rect = {asFloat(place.x), asFloat(place.y), asFloat(place.x + place.width),
                      asFloat(place.y + place.height)};
  return {node.name,
          rect,
          tagOf(node),
          parent,
          node.attr,
          pointOf(node, "xoff", "yoff"),
          pointOf(node, "offsetx", "offsety")};
}

CView* makeView(const LayoutElement& element, ViewMaker& maker) {
  const std::optional<CView*> stock = maker.createStockView(element);
  CView* const view = stock ? *stock : maker.createCustomView(element);
  if (view != nullptr && element.parent != nullptr) {
    maker.addView(*element.parent, *view);
  } else if (view != nullptr) {
    std::fprintf(stderr, "Something very odd happened. name=%s, tag=%d\n", element.name,
                 element.tag);
  }
  return view;
}

/// What holds the elements below `node`; null if there are none, or nothing to hold them.
CViewContainer* holderBelow(const LayoutNode& node, CView* view, ViewMaker& maker) {
  if (view == nullptr || node.child == nullptr) return nullptr;
  CViewContainer* const holder = maker.asContainer(*view);
  if (holder == nullptr) {
    std::fputs(
        "XML is wrong! Trying to add child controls to a non ViewContainer class. "
        "Did you forget a /?\n",
        stderr);
  }
  return holder;
}

}  // namespace

void createViews(const LayoutNode* first, CViewContainer* parent, ViewMaker& maker) {
  struct Level {
    const LayoutNode* node;  // the one that is next
    CViewContainer* parent;
    Place previous;
  };
  // A list of its own in place of calls, so that no document is too deep.
  std::vector<Level> levels = {{first, parent, {}}};
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.node == nullptr) {
      levels.pop_back();
      continue;
    }
    const LayoutNode& node = *level.node;
    level.node = node.ordered;
    level.previous = placeOf(node, level.previous);
    CView* const view = makeView(elementOf(node, level.previous, level.parent), maker);
    CViewContainer* const holder = holderBelow(node, view, maker);
    if (holder != nullptr) levels.push_back({node.child, holder, {}});
  }
}
