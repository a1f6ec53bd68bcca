#pragma once

#include <cstdint>

#include "toolkit/bitmap.h"
#include "toolkit/draw_context.h"
#include "toolkit/geometry.h"

/// A figure with smooth edges that is painted for the scale of a context and kept until it is asked
/// for in another size or look. Threads: as a view's `draw`.
class DevicePicture {
 protected:
  /// Whole device pixels from the window's corner.
  struct Place {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
  };
  [[nodiscard]] static Place placeOf(const CDrawContext& context, const CRect& rect);
  /// Draws what lies at `place`; true where it has to be painted first, into a cleared picture.
  [[nodiscard]] bool needsPaint(const CDrawContext& context, const Place& place, bool sameLook);
  void put(CDrawContext& context, const Place& place) const;

  Held<CDIB> picture;

 private:
  float paintedScale = 0.0F;
};

/// How a box looks; radius in unzoomed pixels. What is not round is square.
struct BoxLook {
  float radius = 2.5F;
  CColor fill;
  CColor line = kTransparentCColor;  ///< a hairline along its inner edge
  int shadow = 0;                    ///< pixels that it reaches beyond the box
  float shadowAlpha = 0.16F;
  float shadowDrop = 2.0F;
  bool roundTop = true;
  bool roundBottom = true;

  bool operator==(const BoxLook&) const = default;
};

/// A box with round corners.
class BoxPicture : private DevicePicture {
 public:
  /// What of the shadow lies outside of the clip rectangle is cut off.
  void draw(CDrawContext& context, const CRect& rect, const BoxLook& look);

 private:
  void paint(const Place& box, float scale) const;

  BoxLook painted;
  Place paintedBox;
};

enum class Icon : std::uint8_t { kLeft, kRight, kUp, kDown, kCheck, kPlus, kCross, kLock };

/// A small sign, as high as text of `size` pixels.
class IconPicture : private DevicePicture {
 public:
  void draw(CDrawContext& context, CPoint centre, float size, Icon icon, CColor colour);

 private:
  Icon painted = Icon::kLeft;
  CColor paintedColour;
};
