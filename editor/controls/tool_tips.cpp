#include "editor/controls/tool_tips.h"

#include "toolkit/look.h"
#include "toolkit/utf8.h"

namespace {

constexpr std::size_t kMostBytes = 500;
constexpr float kTipInset = 22.0F;
constexpr float kRightInset = 48.0F;

}  // namespace

nToolTips::nToolTips(const ControlSetup& setup)
    : CControl(setup), style(look::regular(look::kTextSize, look::kLabel)) {}

void nToolTips::setText(std::string_view utf8) {
  std::size_t end = 0;
  while (end < utf8.size() && nextEdge(utf8, end) <= kMostBytes) end = nextEdge(utf8, end);
  if (utf8.substr(0, end) == text) return;
  text = utf8.substr(0, end);
  setDirty();
}

void nToolTips::draw(CDrawContext& context) {
  context.fillRect(size, look::kPanel);
  context.fillRect({size.left, size.top, size.right, size.top + context.hairline()}, look::kBorder);
  const float left = size.left + 14.0F;
  context.fillRect({left, size.top + 8.0F, left + 2.0F, size.top + 20.0F}, look::kSand);
  const CRect room{size.left + kTipInset, size.top + 4.0F, size.right - kRightInset,
                   size.top + 24.0F};
  context.drawTextCached(look::cutTo(room.width(), style, text), room, style);
  setDirty(false);
}

bool nToolTips::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }
