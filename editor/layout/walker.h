#pragma once

#include <cstdint>
#include <optional>

#include "editor/layout/attributes.h"
#include "toolkit/geometry.h"

class CView;
class CViewContainer;
struct LayoutNode;

/// What a view is made from. Lasts as long as the tree that is walked.
struct LayoutElement {
  const char* name = "";
  CRect rect;             ///< within `parent`
  std::int32_t tag = -1;  ///< -1 for none and for a name that the tag table does not hold
  CViewContainer* parent = nullptr;  ///< null when the walk began without one
  AttributeList attributes = nullptr;
  CPoint offset;        ///< "xoff", "yoff"
  CPoint secondOffset;  ///< "offsetx", "offsety"
};

/// Makes the views that a walk asks for, and knows what can hold others.
/// A view without a parent stays the maker's; all others belong to the container they are added to.
class ViewMaker {
 public:
  virtual ~ViewMaker() = default;

  /// For the elements that every layout knows: a view, or null for one that makes none. Nothing if
  /// the name is not one of them.
  virtual std::optional<CView*> createStockView(const LayoutElement& element) = 0;
  /// For all others; null drops the element together with what is below it.
  virtual CView* createCustomView(const LayoutElement& element) = 0;
  virtual void addView(CViewContainer& parent, CView& view) = 0;
  /// Null if the view is none.
  virtual CViewContainer* asContainer(CView& view) = 0;
};

/// Makes the views of `first` and of the elements after it, each with those below it, into
/// `parent`, in document order. "x" and "y" are places in the parent, "_x" and "_y" gaps from the
/// right and the lower edge of the element before, be it one that was dropped. A view without a
/// parent and elements below a view that is no container are told on the error stream; the latter
/// are dropped. Any depth; on the thread of the views.
void createViews(const LayoutNode* first, CViewContainer* parent, ViewMaker& maker);
