#pragma once

#include <string>

#include "editor/controls/pages.h"

/// A page with a title over a hairline. With a gap its views stand under each other, that far
/// apart, whatever heights the layout gives them. Threads: as `CView`.
class nSection : public nPage {
 public:
  /// `autospace`: the gap in pixels; 0 leaves the views where they are.
  nSection(const CRect& size, std::int32_t tag, std::string title, CColor line, int autospace);

  /// After a view has come or gone.
  void spaceViews();
  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;

 private:
  std::string title;
  CColor line;
  float gap;
};
