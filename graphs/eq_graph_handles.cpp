// How the handles of the main graph and the bar beside them are drawn.

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>

#include "core/plug.h"
#include "editing/parameter_ids.h"
#include "editor/controls/band_hues.h"
#include "graphs/eq_graph_picture.h"
#include "platform/index.h"
#include "toolkit/look.h"

namespace {

constexpr float kDisc = 9.5F;
constexpr float kRing = 8.75F;
constexpr float kRingWidth = 1.5F;
constexpr float kHalo = 13.0F;
constexpr float kOuterRing = 12.0F;
constexpr float kQuiet = 0.45F;  // where another band is soloed
constexpr std::string_view kHeadphones = "\xC5\x85";
constexpr std::string_view kPowerGlyph = "\xC4\x84";

CRect boxAround(CPoint centre, float radius) {
  return {centre.x - radius, centre.y - radius, centre.x + radius, centre.y + radius};
}

void disc(CDrawContext& context, CPoint centre, float radius, CColor colour) {
  context.setFillColor(colour);
  context.drawEllipse(boxAround(centre, radius), kDrawFilled);
}

/// A line of `width`, half of it to either side of `radius`.
void ring(CDrawContext& context, CPoint centre, float radius, float width, CColor colour) {
  context.setFrameColor(colour);
  context.setLineWidth(width);
  context.drawEllipse(boxAround(centre, radius + width * 0.5F), kDrawStroked);
  context.setLineWidth(1.0F);
}

void dashedRing(CDrawContext& context, CPoint centre, float radius, float width, CColor colour) {
  constexpr int kDashes = 10;
  constexpr int kPoints = 5;
  std::array<CPoint, kPoints> way;
  for (int dash = 0; dash < kDashes; ++dash) {
    for (int i = 0; i < kPoints; ++i) {
      const float turn = (static_cast<float>(dash) + 0.5F * static_cast<float>(i) / (kPoints - 1)) /
                         static_cast<float>(kDashes);
      const float angle = 2.0F * std::numbers::pi_v<float> * turn;
      way[at(i)] = {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)};
    }
    context.drawPath(way, width, colour);
  }
}

}  // namespace

void EQGraphPicture::drawHandles(CDrawContext& context) {
  context.setDrawMode(kAntialias);
  for (int handle = kBands; handle < kHandles; ++handle) {
    if (handleOf(handle).isActive) drawCrossover(context, handle);
  }
  for (int band = 0; band < kBands; ++band) {
    if (handleOf(band).isActive && band != selectedBand) drawBandHandle(context, band);
  }
  if (isBand(selectedBand) && handleOf(selectedBand).isActive) {
    drawBandHandle(context, selectedBand);
  }
  drawRubber(context);
  drawBar(context);
}

void EQGraphPicture::drawStem(CDrawContext& context, int band, CColor hue) {
  const graph_handles::Handle& own = handleOf(band);
  const CPoint centre = discOf(band);
  const float target =
      std::clamp(size.top + static_cast<float>(own.setRow), size.top + 5.0F, size.bottom - 5.0F);
  if (std::abs(own.setRow - own.centre.y) <= 0.5 || std::abs(target - centre.y) <= 0.5F) return;
  context.fillRect(
      {centre.x - 1.0F, std::min(target, centre.y), centre.x + 1.0F, std::max(target, centre.y)},
      hue);
  disc(context, {centre.x, target}, 3.5F,
       band_hues::withOpacity(look::kPanel, static_cast<float>(hue.alpha) / 255.0F));
  ring(context, {centre.x, target}, 3.0F, 1.25F, hue);
}

void EQGraphPicture::drawBandHandle(CDrawContext& context, int band) {
  const CPoint centre = discOf(band);
  const bool runs = handleOf(band).isRunning;
  const float alpha = isAnySoloed() && !isOn(band, kB1Solo) ? kQuiet : 1.0F;
  const float hover = underMouse == band ? hoverShare() : 0.0F;
  const CColor hue = runs ? band_hues::full(band) : look::kLabel;
  const auto faded = [alpha](CColor colour, float share = 1.0F) {
    return band_hues::withOpacity(colour, alpha * share);
  };
  if (runs) drawStem(context, band, faded(hue));
  CColor figure = faded(hue);
  if (band == selectedBand && runs) {
    disc(context, centre, kHalo, faded(hue, 0.20F));
    disc(context, centre, kDisc, faded(hue));
    figure = kBlackCColor;
  } else {
    disc(context, centre, kDisc, band_hues::withOpacity(look::kPanel, 0.94F));
    const CColor line = faded(mix(hue, kWhiteCColor, 0.4F * hover));
    if (runs) {
      ring(context, centre, kRing, kRingWidth, line);
    } else {
      dashedRing(context, centre, kRing, kRingWidth, line);
    }
    // Edited together with the selected one.
    if (isSelected(band)) ring(context, centre, kOuterRing, 1.0F, faded(hue, 0.7F));
  }
  if (hover > 0.0F) {
    ring(context, centre, kOuterRing, 1.0F, band_hues::withOpacity(look::kText, 0.55F * hover));
  }
  if (hasFocus() && keyHandle == band) {
    ring(context, centre, kHalo, 1.25F, band_hues::withOpacity(look::kLit, 0.85F));
  }
  TextStyle style = look::bold(look::kSmallTextSize, figure, kCenterText);
  context.drawTextCached(std::to_string(band + 1),
                         {centre.x - 9.0F, centre.y - 6.0F, centre.x + 9.0F, centre.y + 6.0F},
                         style);
  if (graph_handles::liftedDisc(handleOf(band).centre.y, levels.height).isLow) {
    lowIcons[at(band)].draw(context, {centre.x, centre.y + 15.0F}, 9.0F, Icon::kDown, faded(hue));
  }
  const bool isListened = static_cast<int>(plugin.getPlainValue(kSCListen)) == band;
  if (isOn(band, kB1Solo) || isListened) drawBadge(context, centre, isListened);
}

void EQGraphPicture::drawBadge(CDrawContext& context, CPoint centre, bool isListened) {
  const CPoint middle{centre.x + 9.0F, centre.y - 9.0F};
  disc(context, middle, 5.5F, kBlackCColor);
  disc(context, middle, 5.0F, look::kText);
  const CRect place = boxAround(middle, 5.0F);
  context.drawTextCached(isListened ? kHeadphones : "S", place,
                         look::bold(isListened ? 9.0F : 8.0F, kBlackCColor, kCenterText));
}

void EQGraphPicture::drawCrossover(CDrawContext& context, int handle) {
  const CPoint centre = discOf(handle);
  const std::size_t index = at(handle - kBands);
  dashes.draw(context, {centre.x, size.top + 1.0F, centre.x + 1.0F, size.bottom - 1.0F});
  CColor line = look::kLabel;
  if (underMouse == handle) line = mix(line, look::kText, hoverShare());
  if (dragBand == handle && isMoving) line = look::kLit;
  const CRect place{centre.x - 9.0F, centre.y - 6.0F, centre.x + 9.0F, centre.y + 6.0F};
  capsules[index].draw(context, place, {6.0F, band_hues::withOpacity(look::kPanel, 0.92F), line});
  leftArrows[index].draw(context, {centre.x - 4.3F, centre.y}, 10.0F, Icon::kLeft, line);
  rightArrows[index].draw(context, {centre.x + 4.3F, centre.y}, 10.0F, Icon::kRight, line);
  if (hasFocus() && keyHandle == handle) {
    focusCapsule.draw(context, place.inset(-3.0F, -3.0F),
                      {9.0F, kTransparentCColor, band_hues::withOpacity(look::kLit, 0.85F)});
  }
}

void EQGraphPicture::drawRubber(CDrawContext& context) {
  if (!isRubberSeen || rubber.isEmpty()) return;
  context.fillRect(rubber, look::kChosenRow);
  context.setFrameColor(band_hues::withOpacity(look::kLit, 0.6F));
  context.drawRect(rubber);
}

void EQGraphPicture::drawBar(CDrawContext& context) {
  if (!isHandle(hoverBand) || !handleOf(hoverBand).isActive || barSize.x <= 0.0F) return;
  BoxLook boxLook{4.0F, CColor::rgb(0x000000, 0xCC)};
  boxLook.shadow = 1;
  boxLook.shadowAlpha = 0.4F;
  boxLook.shadowDrop = 0.0F;
  barGround.draw(context, barPlace(), boxLook);
  for (int box = 0; box < hover_bar::kBoxes; ++box) {
    if (!hoverBoxes[at(box)].isEmpty()) drawBarBox(context, box);
  }
}

void EQGraphPicture::drawBarBox(CDrawContext& context, int box) {
  const CRect& place = hoverBoxes[at(box)];
  const bool isPower = box == hover_bar::kPower;
  const bool isOnNow = isPower && handleOf(hoverBand).isRunning;
  CColor fill = box == hotBox ? look::kBlueBorder : look::kBorder;
  if (isOnNow) fill = box == hotBox ? look::kLinkedValue : look::kLinked;
  boxPictures[at(box)].draw(context, place, {2.5F, fill});
  TextStyle style = look::bold(look::kSmallTextSize, look::kText, kCenterText);
  switch (box) {
    case hover_bar::kPower:
      style.size = 13.0F;
      style.colour = isOnNow ? kBlackCColor : look::kText;
      context.drawTextCached(kPowerGlyph, place, style);
      return;
    case hover_bar::kTitle:
      if (!barShown.isCrossover) style.colour = band_hues::full(hoverBand);
      context.drawTextCached(barShown.title, place, style);
      return;
    case hover_bar::kKind:
      style.align = kLeftText;
      context.drawTextCached(barShown.kind,
                             {place.left + 7.0F, place.top, place.right, place.bottom}, style);
      menuIcon.draw(context, {place.right - 10.0F, place.centre().y + 0.5F}, 9.0F, Icon::kDown,
                    look::kLabel);
      return;
    case hover_bar::kDelete:
      crossIcon.draw(context, place.centre(), 11.0F, Icon::kCross,
                     activeCount() > 1 ? look::kText : look::kOff);
      return;
    default:
      context.drawText(barShown.values[at(box - hover_bar::kFrequency)], place, style);
  }
}
