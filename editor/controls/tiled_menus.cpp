#include "editor/controls/tiled_menus.h"

#include <utility>

#include "toolkit/look.h"

namespace {

constexpr CColor kRestWord = CColor::rgb(0x9A9A9A);
constexpr float kTileArrow = 8.0F;
constexpr float kArrowRoom = 9.0F;

}  // namespace

tiledMenu::tiledMenu(const ControlSetup& setup, TileLook wanted, std::string_view entries)
    : WithHover(setup, kCheckStyle),
      nTiledButton(std::move(wanted)),
      style(look::bold(look::kTextSize, look::kLit, kCenterText)) {
  addEntries(entries);
}

void tiledMenu::draw(CDrawContext& context) {
  drawTile(context, size, kRest, hoverShare());
  const bool isWord = !getTitle().empty();
  if (isWord) {
    drawTitle(context, size, isPoppedUp() ? look::kLit : mix(kRestWord, look::kText, hoverShare()));
  } else {
    const CMenuItem* const present = getCurrent();
    const CRect place{size.left + 1.0F, size.top + 2.0F, size.right - kArrowRoom, size.top + 22.0F};
    if (present != nullptr) context.drawTextCached(present->title, place, style);
    arrow.draw(context, {size.right - 7.0F, size.top + 12.5F}, kTileArrow, Icon::kDown,
               mix(look::kLabel, look::kText, hoverShare()));
  }
  setDirty(false);
}

tiledSOptionMenu::tiledSOptionMenu(const ControlSetup& setup, TileLook look,
                                   std::string_view entries, std::int32_t other)
    : tiledMenu(setup, std::move(look), entries), alttag(other) {}

CMouseEventResult tiledSOptionMenu::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isRight() || alttag < 0 || getListener() == nullptr) {
    return tiledMenu::onMouseDown(where, buttons);
  }
  CTagUpdate::send(*getListener(), alttag, 1.0F);
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

tiledCopyToMenu::tiledCopyToMenu(const ControlSetup& setup, TileLook look, std::string_view entries)
    : tiledSOptionMenu(setup, {std::move(look.frames), std::move(look.ground), "COPY TO"},
                       entries) {}

tiledGraphMenu::tiledGraphMenu(const ControlSetup& setup, Held<CBitmap> frames)
    : tiledMenu(setup, {std::move(frames), {}, ""}, "Freq\\nTime\\nHistory") {}

tiledSCMenu::tiledSCMenu(const ControlSetup& setup, Held<CBitmap> frames)
    : tiledMenu(setup, {std::move(frames), {}, ""},
                "S/C EQ\\nSPLIT\\nOUTPUT\\nPASS\\nDIFF\\nMIDI") {}

tiledLockMenuButton::tiledLockMenuButton(const ControlSetup& setup, Held<CBitmap> frames)
    : tiledMenu(setup, {std::move(frames), {}, ""}, "Gain\\nDither\\nClipper\\nLimiter") {}

void CTagUpdate::send(CControlListener& listener, std::int32_t tag, float value) {
  const auto update = Held<CTagUpdate>::adopt(new CTagUpdate({{}, &listener, tag}));
  update->setValue(value);
  update->valueChanged();
}
