#pragma once

#include <cstdint>

#include "editor/controls/pages.h"
#include "toolkit/device_picture.h"

/// The ground of a panel: a rounded rectangle with a hairline round it. Threads: as `CView`.
class roundEdgedFrame : public nPage {
 public:
  enum Flags : int { kRoundTop = 1, kRoundBottom = 2 };
  /// `flags`: which corners are round.
  roundEdgedFrame(const CRect& size, std::int32_t tag, int pagenumber, int flags, CColor border,
                  CColor fill);

  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;

 private:
  BoxLook look;
  BoxPicture box;
};
