#include "editor/controls/labels.h"

#include <string_view>
#include <utility>

namespace {

constexpr float kLineDistance = 25.0F;

}  // namespace

CStaticTextLabel::CStaticTextLabel(const ControlSetup& setup, std::string words, TextStyle written)
    : CControl(setup), text(std::move(words)), style(std::move(written)) {}

void CStaticTextLabel::setText(std::string words) {
  if (words == text) return;
  text = std::move(words);
  setDirty();
}

void CStaticTextLabel::setColour(CColor colour) {
  if (colour == style.colour) return;
  style.colour = colour;
  setDirty();
}

void CStaticTextLabel::draw(CDrawContext& context) {
  context.drawTextCached(text, size, style);
  setDirty(false);
}

bool CStaticTextLabel::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }

bool CStaticTextLabel::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) {
  return false;
}

CTitleLabel::CTitleLabel(const ControlSetup& setup, std::string first, std::string second,
                         TextStyle written, CColor secondColour)
    : CStaticTextLabel(setup, std::move(first), std::move(written)),
      rest(std::move(second)),
      restColour(secondColour) {}

void CTitleLabel::draw(CDrawContext& context) {
  TextStyle written = getStyle();
  context.drawTextCached(getText(), size, written);
  CRect after = size;
  if (written.face != nullptr) after.left += written.face->width(getText(), written.size);
  written.colour = restColour;
  context.drawTextCached(rest, after, written);
  setDirty(false);
}

nTextDisplay::nTextDisplay(const ControlSetup& setup, std::string words, TextStyle written)
    : CControl(setup), text(std::move(words)), style(std::move(written)) {}

void nTextDisplay::draw(CDrawContext& context) {
  CRect line{size.left, size.top, size.right, size.top + kLineDistance};
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t end = rest.find('\\');
    context.drawTextCached(rest.substr(0, end), line, style);
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
    line = line.movedBy(0.0F, kLineDistance);
  }
  setDirty(false);
}

bool nTextDisplay::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }
