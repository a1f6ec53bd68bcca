#pragma once

#include <array>
#include <span>
#include <string>

#include "editing/graph_nodes.h"
#include "toolkit/geometry.h"

/// The bar beside a handle with what can be done to its band and the values it has.
namespace hover_bar {

/// In the order in which a press is looked up.
enum Box { kPower, kTitle, kKind, kDelete, kFrequency, kGain, kQ, kSlope, kSlope2 };
inline constexpr int kBoxes = 9;
inline constexpr int kFields = kBoxes - kFrequency;
/// The kinds of values of the fields.
inline constexpr std::array<int, kFields> kFieldKinds = {kNodeFrequency, kNodeGain, kNodeQ,
                                                         kNodeSlope, kNodeSlope2};

using Boxes = std::array<CRect, kBoxes>;

/// What a bar shows. A field without text is left out.
struct Content {
  bool isCrossover = false;
  std::string title;
  std::string kind;
  std::array<std::string, kFields> values;

  bool operator==(const Content&) const = default;
};

/// The widths of the texts of a bar, in unzoomed pixels.
struct Widths {
  float title = 0.0F;
  std::array<float, kFields> values{};  ///< 0 for a field that is left out
};

/// Where boxes stand in a bar whose upper left corner is at 0, 0; its size.
struct Layout {
  Boxes boxes;
  CPoint size;
};
[[nodiscard]] Layout layoutOf(const Content& content, const Widths& widths);

/// A box that is not there, which no point hits.
inline constexpr CRect kNoBox{0.0F, 0.0F, -1.0F, -1.0F};

/// The last box that holds a point, edges included; -1 for none.
[[nodiscard]] int boxAt(const Boxes& boxes, CPoint point);

/// What a bar must keep clear of, in the coordinates of the plot.
struct Surroundings {
  CPoint plot;  ///< its size
  std::span<const CPoint> discs;
  std::span<const CPoint> rings;
};
/// The upper left corner of a bar of `size` for a handle: the nearest place above, below or beside
/// it that covers no handle and leaves edges and zoom strip free.
[[nodiscard]] CPoint placeOf(CPoint handle, CPoint size, const Surroundings& around);

}  // namespace hover_bar
