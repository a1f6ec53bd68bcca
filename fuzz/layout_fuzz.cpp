#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "editor/layout/attributes.h"
#include "editor/layout/layout_tree.h"
#include "editor/layout/tag_table.h"
#include "tests/editor_layout/plain_views.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

/// The lookup step by step, with the text after the end of a list as the last value.
const char* plainLookup(const char* const* list, const std::string& name) {
  std::size_t i = 0;
  while (list[i] && name != list[i]) {
    i += list[i + 1][0] == 0 && list[i + 3][0] == 0 ? 4 : 2;
  }
  if (!list[i] || list[i + 1][0] != 0) return list[i] ? list[i + 1] : nullptr;
  return list[i + 3][0] == 0 ? list[i + 2] : list[i + 1];
}

void checkLookups(const LayoutNode& node) {
  int budget = 20;  // each walks the list
  for (const char* const* entry = node.attr; *entry && budget > 0; entry += 2, --budget) {
    for (const char* name : {entry[0], entry[1], "x"}) {
      require(getAttribute(node.attr, name) == plainLookup(node.attr, name));
      require(hasAttribute(node.attr, name) == (getAttribute(node.attr, name) != nullptr));
      const bool isZero = getAttributeInt(&node, name) == 0;
      if (getAttributeBool(&node, name) && !isZero) {
        require(std::strcmp(getAttributeText(&node, name), "true") == 0);
      }
      require(getAttributeHex(&node, name) == 0 || hasAttribute(node.attr, name));
    }
  }
}

/// Every view holds others, so that nothing is printed.
class HoldingViews : public PlainViews {
  CViewContainer* asContainer(CView& view) override {
    return asHolder(static_cast<View*>(static_cast<void*>(&view)));
  }
};

/// All of the tree, without a call for each level of it.
std::size_t checkTree(const LayoutNode& root) {
  std::size_t nodes = 0;
  for (const LayoutNode* node = &root; node;) {
    ++nodes;
    checkLookups(*node);
    std::size_t children = 0;
    for (const LayoutNode* child = node->child; child; child = child->ordered) {
      require(child->parent == node && child->off <= std::strlen(node->txt));
      ++children;
    }
    for (const LayoutNode* first = node->child; first; first = first->sibling) {
      for (const LayoutNode* same = first; same; same = same->next, --children) {
        require(std::strcmp(same->name, first->name) == 0);
      }
    }
    require(children == 0);
    const LayoutNode* following = node->child;
    while (node && !following) {
      following = node->ordered;
      node = node->parent;
    }
    node = following;
  }
  return nodes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A heap block of its own, so that one byte read too many is seen.
  const std::string document(data, data + size);
  const LayoutTree tree(document);
  require(tree.root().name || *tree.error());
  const std::size_t nodes = checkTree(tree.root());
  if (!tree.root().name) return 0;
  HoldingViews made;
  createViews(&tree.root(), PlainViews::asHolder(&made.frame), made);
  require(made.views.size() <= nodes);
  for (const PlainViews::View& view : made.views) require(view.parent && view.element.tag >= -1);
  require(TagTable(document).size() > 0);
  return 0;
}
