#include "tests/support/script.h"

#include <sstream>

#include "editor/layout/attributes.h"
#include "editor/layout/layout_tree.h"
#include "editor/layout/tag_table.h"
#include "tests/editor_layout/plain_views.h"

namespace {

/// Places of the children, those of one name together: "(0 2)(1)".
std::string groupsBelow(const LayoutNode& parent) {
  std::map<const LayoutNode*, int> places;
  for (const LayoutNode* node = parent.child; node; node = node->ordered) {
    places.emplace(node, places.size());
    EXPECT_EQ(node->parent, &parent);
  }
  std::string groups;
  for (const LayoutNode* first = parent.child; first; first = first->sibling) {
    std::string group;
    for (const LayoutNode* node = first; node; node = node->next) {
      group += (group.empty() ? "" : " ") + std::to_string(places.at(node));
    }
    groups += "(" + group + ")";
  }
  return groups;
}

/// name[attribute=value,...]"text"@off{children}groups
std::string shown(const LayoutNode& node) {
  std::string text = node.name ? node.name : "null";
  const char* const* entry = node.attr;
  if (*entry) text += '[';
  for (; *entry; entry += 2) {
    text += std::string(entry == node.attr ? "" : ",") + entry[0] + '=' + entry[1];
  }
  EXPECT_NE(*entry[1], 0) << "what stands after the list is read as a value";
  if (entry != node.attr) text += ']';
  if (*node.txt) text += '"' + std::string(node.txt) + '"';
  if (node.off > 0) text += '@' + std::to_string(node.off);
  if (!node.child) return text;
  text += '{';
  for (const LayoutNode* child = node.child; child; child = child->ordered) {
    text += (child == node.child ? "" : " ") + shown(*child);
  }
  return text + '}' + groupsBelow(node);
}

class LayoutScript : public Script {
 protected:
  LayoutScript() {
    commands["read"] = [this] {
      const LayoutTree tree(row[1]);
      say(shown(tree.root()));
      if (*tree.error()) say(tree.error());
    };
    commands["text"] = [this] {
      withNode([this](const LayoutNode& node, const char* name) {
        const char* const text = getAttributeText(&node, name);
        say(text ? "'" + std::string(text) + "'" : "null");
      });
    };
    commands["numbers"] = [this] {
      withNode([this](const LayoutNode& node, const char* name) {
        say(getAttributeInt(&node, name));
        say(getAttributeHex(&node, name));
        say(getAttributeBool(&node, name));
      });
    };
    commands["walk"] = [this] { walk(true); };
    commands["walk without a parent"] = [this] { walk(false); };
    commands["tags"] = [this] {
      const TagTable table(row[1]);
      std::istringstream names(row[2]);
      for (std::string name; names >> name;) say(table.find(name));
      say("of");
      say(table.size());
    };
  }

  /// `act` for each name of the second cell on an element with the attributes of the first.
  void withNode(const std::function<void(const LayoutNode&, const char*)>& act) {
    const LayoutTree tree("<e " + row[1] + "/>");
    std::istringstream names(row[2]);
    for (std::string name; names >> name;) act(tree.root(), name.c_str());
  }

  void walk(bool hasParent) {
    const LayoutTree tree(row[1]);
    PlainViews made;
    testing::internal::CaptureStderr();
    createViews(tree.root().child, hasParent ? PlainViews::asHolder(&made.frame) : nullptr, made);
    for (const auto& [element, parent] : made.views) {
      const auto& [name, rect, tag, holder, attributes, offset, second] = element;
      EXPECT_EQ(PlainViews::asHolder(parent), holder);
      std::ostringstream view;
      view << (parent ? parent->element.name : "") << '/' << name << ' ' << rect.left << ' '
           << rect.top << ' ' << rect.right << ' ' << rect.bottom;
      if (tag >= 0) view << " tag " << tag;
      if (offset != second) {
        view << " at " << offset.x << ' ' << offset.y << ' ' << second.x << ' ' << second.y;
      }
      say(view.str() + ";");
    }
    const std::string errors = testing::internal::GetCapturedStderr();
    if (!errors.empty()) say(errors);
  }
};

TEST_F(LayoutScript, DoesWhatTheTableTells) { run(TEST_DATA "/layout.txt"); }

TEST(LayoutTree, TakesHostileTextsOfAnySizeInTime) {
  constexpr int kCount = 100000;
  std::string deep;
  std::string wide = "<r>";
  std::string references = "<r>";
  for (int i = 0; i < kCount; ++i) {
    deep += "<a>";
    wide += "t<n" + std::to_string(i) + "/>";
    references += "&#0&amp";
  }
  const LayoutTree depths(deep);
  PlainViews views;
  createViews(&depths.root(), PlainViews::asHolder(&views.frame), views);
  EXPECT_EQ(views.views.size(), std::size_t{kCount});
  EXPECT_STREQ(depths.error(), "[error near line 1]: unclosed tag <a>");

  const LayoutTree widths(wide + "</r>");
  int groups = 0;
  for (const LayoutNode* node = widths.root().child; node; node = node->sibling) ++groups;
  EXPECT_EQ(groups, kCount);
  EXPECT_EQ(LayoutTree(references + "</r>").root().txt, references.substr(3));

  const std::string name(500, 'n');
  const LayoutTree cut("<r></" + name + ">");
  EXPECT_EQ(cut.error(), ("[error near line 1]: unexpected closing tag </" + name).substr(0, 127));
}

}  // namespace
