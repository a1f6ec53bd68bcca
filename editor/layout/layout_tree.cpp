#include "editor/layout/layout_tree.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

#include "editor/layout/markup_text.h"

namespace {

constexpr const char* kSpace = "\t\r\n ";
constexpr const char* kTagNameEnd = "\t\r\n />";
constexpr const char* kAttributeNameEnd = "\t\r\n =/>";

// After each list: nothing in it was allocated.
constexpr const char* kAllInPlace = "in place";

bool isNameStart(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
         static_cast<unsigned char>(c) >= 128;
}

void linkNames(const LayoutNode& parent) {
  std::map<std::string_view, LayoutNode*> lastOfName;
  LayoutNode* lastFirst = nullptr;
  for (LayoutNode* node = parent.child; node != nullptr; node = node->ordered) {
    LayoutNode*& last = lastOfName[node->name];
    if (last != nullptr) {
      last->next = node;
    } else {
      if (lastFirst != nullptr) lastFirst->sibling = node;
      lastFirst = node;
    }
    last = node;
  }
}

}  // namespace

/// Reads a document once from front to back. Operations that answer false have told of a fault.
class LayoutTree::Reader {
 public:
  Reader(LayoutTree& toFill, std::string_view original)
      : tree(toFill),
        document(original),
        at(tree.text.data()),
        end(tree.text.data() + tree.text.size() - 1) {}

  void read() {
    skipToMarkup();
    while (at < end) {
      if (!readMarkup()) break;
      readData();
    }
    if (!hasFailed && !open.empty()) {
      fail(end, "unclosed tag <" + std::string(open.back().node->name) + ">");
    }
    if (!hasFailed && tree.nodes.empty()) fail(end, "root tag missing");
    finish();
  }

 private:
  struct OpenElement {
    LayoutNode* node;
    LayoutNode* lastChild;
    std::string data;
  };

  void skipToMarkup() noexcept { at = std::find(at, end, '<'); }

  bool startsWith(std::string_view wanted) const noexcept {
    return std::string_view(at, static_cast<std::size_t>(end - at)).starts_with(wanted);
  }

  bool fail(const char* position, const std::string& reason) {
    const auto read = static_cast<std::size_t>(position - tree.text.data());
    const auto lines = std::ranges::count(document.substr(0, read), '\n') + 1;
    std::snprintf(tree.errorText, sizeof tree.errorText, "[error near line %d]: %s",
                  static_cast<int>(lines), reason.c_str());
    hasFailed = true;
    return false;
  }

  bool readMarkup() {
    if (isNameStart(at[1])) return readOpeningTag();
    if (startsWith("</")) return readClosingTag();
    if (startsWith("<!--")) return readUpTo("<!--", "-->", Content::kNone);
    if (startsWith("<![CDATA[")) return readUpTo("<![CDATA[", "]]>", Content::kData);
    if (startsWith("<!DOCTYPE")) return readDeclaration();
    if (startsWith("<?")) return readUpTo("<?", "?>", Content::kNone);
    return fail(at, "unexpected <");
  }

  enum class Content { kNone, kData };

  bool readUpTo(std::string_view opening, std::string_view closing, Content content) {
    char* const begin = at + opening.size();
    char* const found = std::search(begin, end, closing.begin(), closing.end());
    if (found == end) return fail(at, "unclosed " + std::string(opening));
    if (content == Content::kData) addData(begin, found, MarkupText::kVerbatim);
    at = found + closing.size();
    return true;
  }

  bool readDeclaration() {
    std::size_t depth = 0;
    for (char* c = at; c < end; ++c) {
      if (*c == '[') ++depth;
      if (*c == ']' && depth > 0) --depth;
      if (*c != '>' || depth > 0) continue;
      at = c + 1;
      return true;
    }
    return fail(at, "unclosed <!DOCTYPE");
  }

  bool readOpeningTag() {
    if (open.empty() && !tree.nodes.empty()) return fail(at, "markup outside of root element");
    const char* const name = ++at;
    at += std::strcspn(at, kTagNameEnd);
    char* const nameEnd = at;
    at += std::strspn(at, kSpace);
    const std::size_t list = tree.attributes.size();
    while (at < end && *at != '/' && *at != '>') {
      if (!readAttribute()) return false;
    }
    char* const stop = at;
    const bool closesAtOnce = *at == '/';
    if (closesAtOnce) ++at;
    if (*at != '>') return fail(at, "missing >");
    ++at;
    // Here ends the last name or unquoted value, too.
    *nameEnd = *stop = 0;
    tree.attributes.insert(tree.attributes.end(), {nullptr, kAllInPlace});
    openElement(name, list);
    if (closesAtOnce) closeElement();
    return true;
  }

  bool readAttribute() {
    const char* const name = at;
    const char* value = "";
    at += std::strcspn(at, kAttributeNameEnd);
    char* const nameEnd = at;
    if (at < end && *at != '/' && *at != '>') {
      at += std::strspn(at, "\t\r\n =");
      *nameEnd = 0;
      if (*at == '"' || *at == '\'') {
        char* const close = std::find(at + 1, end, *at);
        if (close == end) return fail(at, std::string("missing ") + *at);
        value = at + 1;
        *decodeMarkup(at + 1, close, MarkupText::kAttribute) = 0;
        at = close + 1;
      }
    }
    tree.attributes.insert(tree.attributes.end(), {name, value});
    at += std::strspn(at, kSpace);
    return true;
  }

  bool readClosingTag() {
    const char* const name = at + 2;
    const char* const nameEnd = name + std::strcspn(name, "\t\r\n >");
    const std::string_view closed(name, static_cast<std::size_t>(nameEnd - name));
    if (open.empty() || closed != open.back().node->name) {
      return fail(at, "unexpected closing tag </" + std::string(closed) + ">");
    }
    at += 2 + closed.size();
    at += std::strspn(at, kSpace);
    if (*at != '>') return fail(at, "missing >");
    ++at;
    closeElement();
    return true;
  }

  /// What stands between two tags; no tag comes after the rest of a text that is cut short.
  void readData() {
    char* const begin = at;
    skipToMarkup();
    if (at < end) addData(begin, at, MarkupText::kData);
  }

  void addData(char* begin, char* dataEnd, MarkupText kind) {
    if (open.empty()) return;
    const char* const decodedEnd = decodeMarkup(begin, dataEnd, kind);
    open.back().data.append(begin, static_cast<std::size_t>(decodedEnd - begin));
  }

  void openElement(const char* name, std::size_t list) {
    LayoutNode& node = tree.nodes.emplace_back();
    node.name = name;
    lists.push_back(list);
    if (!open.empty()) {
      OpenElement& above = open.back();
      node.parent = above.node;
      node.off = above.data.size();
      (above.lastChild == nullptr ? above.node->child : above.lastChild->ordered) = &node;
      above.lastChild = &node;
    }
    open.push_back({&node, nullptr, {}});
  }

  void closeElement() {
    if (!open.back().data.empty()) {
      LayoutNode& node = *open.back().node;
      node.txt = tree.joinedTexts.emplace_back(std::move(open.back().data)).c_str();
      node.flags |= LayoutNode::kTextJoined;
    }
    open.pop_back();
  }

  void finish() {
    while (!open.empty()) closeElement();
    if (tree.nodes.empty()) {
      tree.nodes.emplace_back();
      lists.push_back(tree.attributes.size());
      tree.attributes.insert(tree.attributes.end(), {nullptr, kAllInPlace});
    }
    for (std::size_t i = 0; i < lists.size(); ++i) {
      tree.nodes[i].attr = tree.attributes.data() + lists[i];
      linkNames(tree.nodes[i]);
    }
  }

  LayoutTree& tree;
  std::string_view document;  // as it was, to count lines
  char* at;
  char* end;                       // a zero stands there
  std::vector<OpenElement> open;   // from the root down
  std::vector<std::size_t> lists;  // where the lists of `nodes` begin in `attributes`
  bool hasFailed = false;
};

LayoutTree::LayoutTree(std::string_view document) {
  document = document.substr(0, document.find('\0'));
  if (!document.empty() && document.back() != '>') document.remove_suffix(1);
  text.assign(document.begin(), document.end());
  text.push_back(0);
  Reader(*this, document).read();
}
