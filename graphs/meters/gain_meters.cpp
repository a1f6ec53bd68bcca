#include "graphs/meters/gain_meters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

#include "editor/controls/action_menu.h"
#include "editor/controls/tiled_menus.h"
#include "editor/layout/tag_table.h"
#include "graphs/meters/meter_look.h"
#include "graphs/meters/meter_scale.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr CColor kScaleTick = CColor::rgb(0x3A3A3A);
constexpr CColor kHoldLine = CColor::rgb(0xE0E0E0, 230);
constexpr CColor kMiddleInBar = CColor::rgb(0xE0E0E0, 153);
constexpr float kBarLeft = 5.0F;
constexpr float kBandBarWidth = 10.0F;
constexpr float kHalf = 60.0F;    // of the bar
constexpr float kMiddle = 62.0F;  // from the top of the view
constexpr float kReadingTop = 130.0F;
constexpr int kTicks = 8;           // to either side
constexpr double kSeenSteps = 8.0;  // of a pixel

/// Seconds of the window that shows it.
double secondsOf(const CView& view) {
  constexpr double kMillisecond = 0.001;
  const CFrame* const frame = view.getFrame();
  return frame != nullptr ? static_cast<double>(frame->now()) * kMillisecond : 0.0;
}

}  // namespace

BandMeterChoice BandMeterChoice::of(int channel, int show, int zoom) noexcept {
  BandMeterChoice wanted;
  if (channel >= kLeft && channel <= kMaximum) wanted.channel = channel;
  if (show >= kDynamics && show <= kBoth) wanted.show = show;
  wanted.isZoomed = zoom != 0;
  return wanted;
}

double BandMeterChoice::pick(double first, double second) const noexcept {
  if (channel == kLeft) return first;
  if (channel != kMaximum) return second;
  return std::abs(second) > std::abs(first) ? second : first;
}

miniPPMmeter::miniPPMmeter(const ControlSetup& setup)
    : CControl(setup),
      figures(look::bold(10.0F, look::kLabel)),
      reading(look::bold(look::kSmallTextSize, look::kText, kCenterText)) {}

void miniPPMmeter::setLevel(double gain) {
  dB = decibelsOf(gain);
  hold.take(dB, secondsOf(*this), mode);
  Shown now = shownNow();
  if (now == shown) return;
  shown = std::move(now);
  setDirty();
}

void miniPPMmeter::setHoldMode(HoldMode wanted) {
  if (std::exchange(mode, wanted) != wanted) setDirty();
}

void miniPPMmeter::setChoice(const BandMeterChoice& wanted) {
  if (std::exchange(choice, wanted) == wanted) return;
  hold.reset();
  setDirty();
}

void miniPPMmeter::setDisabled(bool on) {
  if (std::exchange(isDisabled, on) == on) return;
  hold.reset();
  setDirty();
}

double miniPPMmeter::offsetOf(double of) const {
  return -std::clamp(of / range(), -1.0, 1.0) * static_cast<double>(kHalf);
}

std::string miniPPMmeter::shownText() const {
  if (isDisabled) return {};
  return dB > decibelsOf(0.0) ? gainText(dB) : "-inf";
}

miniPPMmeter::Shown miniPPMmeter::shownNow() const {
  const auto seen = [this](double of) {
    return static_cast<int>(std::lround(offsetOf(of) * kSeenSteps));
  };
  return {seen(dB), seen(hold.get()), shownText()};
}

Menu miniPPMmeter::menu() {
  constexpr std::array<std::string_view, 4> kChannels = {"Left", "Right", "Side", "Maximum"};
  constexpr std::array<std::string_view, 3> kShows = {"Dynamics", "Transients", "Both"};
  Menu made;
  for (int i = 0; i < static_cast<int>(kChannels.size()); ++i) {
    BandMeterChoice wanted = choice;
    wanted.channel = i;
    made.addChecked(std::string(kChannels[static_cast<std::size_t>(i)]), choice.channel == i,
                    [this, wanted] { choose(wanted); });
  }
  made.addSeparator();
  for (int i = 0; i < static_cast<int>(kShows.size()); ++i) {
    BandMeterChoice wanted = choice;
    wanted.show = i;
    made.addChecked(std::string(kShows[static_cast<std::size_t>(i)]), choice.show == i,
                    [this, wanted] { choose(wanted); });
  }
  made.addSeparator();
  BandMeterChoice wanted = choice;
  wanted.isZoomed = !choice.isZoomed;
  made.addChecked("Zoom", choice.isZoomed, [this, wanted] { choose(wanted); });
  return made;
}

void miniPPMmeter::choose(const BandMeterChoice& wanted) {
  setChoice(wanted);
  if (getListener() == nullptr) return;
  CTagUpdate::send(*getListener(), kGUIMeterPrePost, static_cast<float>(getTag()));
}

CMouseEventResult miniPPMmeter::onMouseDown(CPoint where, CButtonState buttons) {
  if (buttons.isRight()) {
    openActionMenu(*this, menu(), {where.x, where.y, where.x, where.y}, true);
  } else if (buttons.isLeft()) {
    hold.reset(dB);
    setDirty();
  }
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void miniPPMmeter::draw(CDrawContext& context) {
  drawScale(context);
  drawBar(context);
  const float top = size.top + kReadingTop;
  context.drawText(shownText(), {size.left, top, size.left + 32.0F, top + 16.0F}, reading);
  setDirty(false);
}

void miniPPMmeter::drawScale(CDrawContext& context) {
  const float middle = size.top + kMiddle;
  const float bar = size.left + kBarLeft;
  const float hair = context.hairline();
  context.fillRect({bar, middle - kHalf, bar + kBandBarWidth, middle + kHalf},
                   meter_look::kBarGround);
  for (int k = -kTicks; k <= kTicks; ++k) {
    const double marked = k * range() / kTicks;
    const float y = context.snap(middle + static_cast<float>(offsetOf(marked)) - hair * 0.5F);
    const bool hasText = k % 2 == 0;
    const CColor rest = isDisabled ? look::kOff : look::kLabel;
    const bool isZero = k == 0 && !isDisabled;
    context.fillRect({bar + 12.0F, y, bar + (hasText ? 17.0F : 15.0F), y + hair},
                     isZero ? look::kText : kScaleTick);
    if (!hasText) continue;
    figures.colour = isZero ? look::kText : rest;
    const float text = middle + static_cast<float>(offsetOf(marked)) - 5.0F;
    context.drawTextCached(gainFigure(std::abs(marked)),
                           {bar + 18.0F, text, size.right, text + 10.0F}, figures);
  }
}

void miniPPMmeter::drawBar(CDrawContext& context) {
  const float middle = size.top + kMiddle;
  const float bar = size.left + kBarLeft;
  const float hair = context.hairline();
  if (!isDisabled) {
    const auto y = middle + static_cast<float>(offsetOf(dB));
    const auto [from, to] = std::minmax(middle, y);
    if (to > from) context.fillRect({bar, from, bar + kBandBarWidth, to}, look::kLit);
    if (std::abs(dB) > range()) {  // its end lies beyond the scale
      const float end = dB > 0.0 ? from : to - 3.0F;
      context.fillRect({bar, end, bar + kBandBarWidth, end + 3.0F}, look::kOver);
    }
    if (mode != HoldMode::kOff && hold.get() != 0.0) {
      const float line = context.snap(middle + static_cast<float>(offsetOf(hold.get())) - 0.5F);
      context.fillRect({bar - 1.0F, line, bar + kBandBarWidth + 1.0F, line + hair}, kHoldLine);
    }
  }
  const float zero = context.snap(middle - hair * 0.5F);
  context.fillRect({bar, zero, bar + kBandBarWidth, zero + hair}, kMiddleInBar);
}

miniGRmeter::miniGRmeter(const ControlSetup& setup)
    : CControl(setup), text(look::bold(look::kSmallTextSize, look::kText, kRightText)) {
  CControl::setValue(1.0F);
}

std::string miniGRmeter::shownText() const {
  const double dB = decibelsOf(static_cast<double>(value));
  return dB > decibelsOf(0.0) ? gainText(dB) : "-inf";
}

void miniGRmeter::draw(CDrawContext& context) {
  constexpr float kTextWidth = 34.0F;
  constexpr double kRange = 24.0;
  constexpr int kMarks = 4;
  const CRect bar{size.left, size.top, size.right - kTextWidth, size.top + 5.0F};
  context.fillRect(bar, meter_look::kBarGround);
  const double dB = std::clamp(-decibelsOf(static_cast<double>(value)), 0.0, kRange);
  const float length = static_cast<float>(dB / kRange) * bar.width();
  if (length > 0.0F) {
    context.fillRect({bar.right - length, bar.top, bar.right, bar.bottom}, look::kSand);
  }
  text.colour = look::kText;
  text.size = look::kSmallTextSize;
  text.align = kRightText;
  context.drawText(shownText(), {bar.right, size.top, size.right, size.bottom}, text);
  if (size.height() >= 16.0F) {
    text.colour = look::kLabel;
    text.size = 10.0F;
    text.align = kCenterText;
    for (int k = 1; k < kMarks; ++k) {
      const float x = bar.right - bar.width() * static_cast<float>(k) / kMarks;
      context.drawTextCached(gainFigure(k * kRange / kMarks),
                             {x - 8.0F, bar.bottom + 1.0F, x + 8.0F, bar.bottom + 11.0F}, text);
    }
  }
  setDirty(false);
}

clipGRmeter::clipGRmeter(const ControlSetup& setup)
    : CControl(setup), text(look::bold(9.0F, kWhiteCColor, kCenterText)) {}

void clipGRmeter::setLevel(double wanted) {
  const double before = hold.get();
  hold.take(wanted, secondsOf(*this), HoldMode::kFiveSeconds);
  if (std::exchange(level, wanted) != wanted || hold.get() != before) setDirty();
}

std::string clipGRmeter::shownText() const { return clipText(hold.get()); }

void clipGRmeter::draw(CDrawContext& context) {
  constexpr float kTextWidth = 28.0F;
  constexpr float kTextHeight = 11.0F;
  const auto width = static_cast<double>(size.width());
  const float whole = static_cast<float>(std::max(clipBarWidth(width, 1.0), 0.0));
  const auto length = static_cast<float>(clipBarWidth(width, std::clamp(level, 0.0, 1.0)));
  context.fillRect({size.left, size.top, size.left + whole, size.bottom}, meter_look::kBarGround);
  if (length > 0.0F) {
    context.fillRect({size.left, size.top, size.left + length, size.bottom}, look::kOver);
  }
  const std::string shown = shownText();
  const float top = std::floor(size.centre().y - kTextHeight * 0.5F);
  const float room = std::max(kTextWidth, std::ceil(look::widthOf(text, shown)) + 4.0F);
  const CRect place{size.right - room, top, size.right, top + kTextHeight};
  text.colour = hold.get() == 0.0 ? look::kLabel : kWhiteCColor;
  if (hold.get() != 0.0) context.fillRect(place, look::kOver);
  context.drawText(shown, place, text);
  setDirty(false);
}
