#include "editor/controls/control_outline.h"

#include <algorithm>
#include <array>

#include "toolkit/look.h"

namespace {

constexpr float kBeyond = 5.0F;
constexpr float kLeastHeight = 17.0F;  // around one line of text
constexpr float kOutlineRadius = 3.0F;
constexpr float kCorner = 6.0F;
constexpr CColor kFocusRing{look::kLit.red, look::kLit.green, look::kLit.blue, 217};

CRect boxOf(const CRect& cell) {
  return cell.inset(-kBeyond, std::min(0.0F, (cell.height() - kLeastHeight) * 0.5F));
}

}  // namespace

void ControlOutline::draw(CDrawContext& context, const CRect& cell, const MarkState& marks,
                          State state) {
  const CRect box = boxOf(cell);
  if (state.isDragged) ground.draw(context, box, {kOutlineRadius, look::kBluePanel});
  if (marks.isLearning && state.isBlinkOn) {
    ring.draw(context, box, {kOutlineRadius, kTransparentCColor, look::kLearn});
  } else if (state.isFocused && !state.isDragged) {
    ring.draw(context, box, {kOutlineRadius, kTransparentCColor, kFocusRing});
  }
  if (!marks.isMapped) return;
  const float top = box.top + 1.0F;
  const std::array<CPoint, 3> corner = {
      {{box.right, top}, {box.right - kCorner, top}, {box.right, top + kCorner}}};
  context.setFillColor(look::kMapped);
  context.drawPolygon(corner, kDrawFilled);
}

CRect ControlOutline::reachOf(const CRect& cell) { return boxOf(cell).inset(-1.0F, -1.0F); }
