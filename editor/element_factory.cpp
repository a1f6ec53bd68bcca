#include "editor/element_factory.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "editor/controls/section.h"
#include "editor/own_elements.h"
#include "editor/stock_elements.h"
#include "editor/value_elements.h"
#include "toolkit/frame.h"

namespace {

const ElementRow* rowOf(std::span<const ElementRow> rows, const LayoutElement& element) {
  const auto row = std::ranges::find(rows, std::string_view(element.name), &ElementRow::element);
  return row == rows.end() ? nullptr : &*row;
}

}  // namespace

std::optional<CView*> ElementFactory::createStockView(const LayoutElement& element) {
  const ElementRow* const row = rowOf(stockElements(), element);
  if (row == nullptr) return std::nullopt;
  return row->make(element, {{element.rect, &listener, element.tag}, values, effect});
}

CView* ElementFactory::createCustomView(const LayoutElement& element) {
  const ElementRow* row = rowOf(ownElements(), element);
  if (row == nullptr) row = rowOf(valueElements(), element);
  if (row == nullptr) return nullptr;
  const std::int32_t tag = row->ownTag >= 0 ? row->ownTag : element.tag;
  const ElementSetup setup{{element.rect, &listener, tag}, values, effect};
  return row->make(element, setup);
}

void ElementFactory::addView(CViewContainer& parent, CView& view) {
  parent.addView(&view);
  if (auto* const section = dynamic_cast<nSection*>(&parent)) section->spaceViews();
}

CViewContainer* ElementFactory::asContainer(CView& view) {
  return dynamic_cast<CViewContainer*>(&view);
}
