#include "apps/editor/view_list.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <typeinfo>

#include "apps/output/json_output.h"
#include "editor/controls/pages.h"
#include "editor/layout/tag_table.h"
#include "toolkit/frame.h"
#include "toolkit/param_display.h"

namespace {

std::string classOf(const CView& view) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(typeid(view).name(), nullptr, nullptr, &status), &std::free);
  const std::string whole = name != nullptr ? name.get() : "";
  return whole.substr(whole.rfind(':') + 1);  // where it is defined is of no use
}

JsonNode* truth(bool is) { return jsonParse(is ? "true" : "false"); }

JsonNode* places(const CRect& rect) {
  JsonTree list(jsonCreateArray());
  for (const float edge : {rect.left, rect.top, rect.right, rect.bottom}) {
    jsonAddItemToArray(list.get(), jsonCreateNumber(static_cast<double>(edge)));
  }
  return list.release();
}

class Lister {
 public:
  explicit Lister(JsonNode* entries) : list(entries) {}

  void add(CView& view, int depth, bool isShown) {
    isShown = isShown && view.isVisible();
    jsonAddItemToArray(list, entry(view, depth, isShown).release());
    auto* const container = dynamic_cast<CViewContainer*>(&view);
    if (container == nullptr) return;
    for (std::size_t i = 0; i < container->getViewCount(); ++i) {
      add(*container->getView(i), depth + 1, isShown);
    }
  }

 private:
  static JsonTree entry(CView& view, int depth, bool isShown) {
    std::int32_t tag = -1;
    float value = 0.0F;
    int page = -1;
    std::string text;
    if (const auto* const control = dynamic_cast<CControl*>(&view)) {
      tag = control->getTag();
      value = control->getValue();
      text = control->shownText();
    } else if (const auto* const face = dynamic_cast<iControl*>(&view)) {
      tag = face->getControlTag();
      value = face->getControlValue();
    }
    if (const auto* const onPage = dynamic_cast<nPage*>(&view)) page = onPage->getPageNumber();
    JsonTree object(jsonCreateObject());
    addMember(object, "class", jsonCreateString(classOf(view).c_str()));
    const std::string name(tag >= 0 ? tagTable().nameOf(tag) : "");
    addMember(object, "tag", jsonCreateString(name.c_str()));
    addMember(object, "number", jsonCreateNumber(tag));
    addMember(object, "page", jsonCreateNumber(page));
    addMember(object, "rect", places(view.localToFrame(view.getViewSize())));
    addMember(object, "depth", jsonCreateNumber(depth));
    addMember(object, "visible", truth(isShown));
    addMember(object, "enabled", truth(view.getMouseEnabled()));
    addMember(object, "value", static_cast<double>(value));
    addMember(object, "text", jsonCreateString(text.c_str()));
    return object;
  }

  JsonNode* list;
};

}  // namespace

JsonTree listViews(CFrame& frame) {
  JsonTree list(jsonCreateArray());
  Lister lister(list.get());
  for (std::size_t i = 0; i < frame.getViewCount(); ++i) lister.add(*frame.getView(i), 0, true);
  for (CView* const modal : frame.getModalViews()) lister.add(*modal, 0, true);
  return list;
}
