#pragma once

#include <deque>
#include <string_view>

#include "editor/layout/walker.h"

/// Views that are nothing but what they were made from. Names that begin with "drop" make none,
/// those with "leaf" hold no others, and "CViewContainer" is a stock element without a view.
class PlainViews : public ViewMaker {
 public:
  struct View {
    LayoutElement element;
    View* parent = nullptr;
  };

  static CViewContainer* asHolder(View* view) {
    return static_cast<CViewContainer*>(static_cast<void*>(view));
  }

  std::optional<CView*> createStockView(const LayoutElement& element) override {
    if (std::string_view(element.name) != "CViewContainer") return std::nullopt;
    return nullptr;
  }
  CView* createCustomView(const LayoutElement& element) override {
    if (std::string_view(element.name).starts_with("drop")) return nullptr;
    return static_cast<CView*>(static_cast<void*>(&views.emplace_back(View{element})));
  }
  void addView(CViewContainer& parent, CView& view) override {
    viewOf(&view)->parent = viewOf(&parent);
  }
  CViewContainer* asContainer(CView& view) override {
    View* const made = viewOf(&view);
    return std::string_view(made->element.name).starts_with("leaf") ? nullptr : asHolder(made);
  }

  View frame;
  std::deque<View> views;  // in the order in which they were made

 private:
  static View* viewOf(void* view) { return static_cast<View*>(view); }
};
