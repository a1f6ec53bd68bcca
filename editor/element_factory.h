#pragma once

#include <optional>

#include "editor/controls/value_source.h"
#include "editor/layout/walker.h"
#include "toolkit/control.h"

class Plug;

/// Makes the views of a layout's elements. Threads: as `CView`.
class ElementFactory : public ViewMaker {
 public:
  /// `who` hears of the controls, `source` knows what they show, and `shown` is the effect; all
  /// outlive them.
  ElementFactory(CControlListener& who, ValueSource& source, Plug& shown)
      : listener(who), values(source), effect(shown) {}

  std::optional<CView*> createStockView(const LayoutElement& element) override;
  CView* createCustomView(const LayoutElement& element) override;
  void addView(CViewContainer& parent, CView& view) override;
  CViewContainer* asContainer(CView& view) override;

 private:
  CControlListener& listener;
  ValueSource& values;
  Plug& effect;
};
