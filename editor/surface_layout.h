#pragma once

#include <cstdint>
#include <span>

#include "toolkit/geometry.h"

/// How large the surface is, in unzoomed pixels: by mode and by whether the help line is shown.
struct SurfaceSize {
  static constexpr float kFullHeight = 698.0F;  ///< with the help line
  static constexpr float kHelpHeight = 28.0F;
  static constexpr float kTitleHeight = 25.0F;

  /// `mode`: 0 plain, 1 sidechain panel, 2 advanced panel.
  SurfaceSize(int mode, bool showsHelp);

  float width;
  float height;
  float graphWidth;
  bool showsHelp;
  int mode;

  /// Where what lies over everything but title bar and help line ends.
  [[nodiscard]] float overlayBottom() const { return showsHelp ? height - kHelpHeight : height; }
};

/// What a place is worked out from besides the size.
struct PresentPlaces {
  CRect own;                ///< of the part itself
  float titleButtonsWidth;  ///< of `kGUIBox2`
  float presetBoxTop;       ///< of the preset tray, as the document has it
};

/// A part of the surface that lies elsewhere in another mode.
struct SurfacePart {
  std::int32_t tag;
  int which;       ///< 0 the first control of the tag, 1 the second, ...; `kEvery` for all
  bool withMouse;  ///< where the mouse meets it moves along
  CRect (*place)(const SurfaceSize& size, const PresentPlaces& present);
  bool framesOnly = false;  ///< of the controls of the tag those that are panels

  static constexpr int kEvery = -1;
};

/// All of them that have a tag, in the order in which they are placed.
[[nodiscard]] std::span<const SurfacePart> surfaceParts();

// Those that have none; the mouse meets them there, too.
[[nodiscard]] CRect helpLinePlace(const SurfaceSize& size);
[[nodiscard]] CRect graphPlace(const SurfaceSize& size);

/// The band 0..7 whose tab is at a point, -1 for none.
[[nodiscard]] int bandTabAt(const SurfaceSize& size, CPoint where);
