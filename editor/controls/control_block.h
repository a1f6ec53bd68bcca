#pragma once

#include <functional>
#include <string>

#include "editor/controls/faders.h"
#include "editor/controls/option_menus.h"
#include "editor/controls/pages.h"
#include "editor/controls/value_buttons.h"
#include "editor/controls/value_text.h"

/// A name with the controls of one parameter, which look like one control: they share the look
/// under the mouse, the ring of the keys and the marks. Their tags are those of the block; marks
/// that are given to the block go to all of them. Threads, for all of these: as `CView`.
class ValueBlock : public CGViewContainer,
                   public CHighlightControl,
                   public nCanDisable,
                   public nCanMIDILearn,
                   public nCanLink,
                   public PartHolder {
 public:
  void setLabel(std::string text);
  /// The name on a warm ground: its value is in force right now.
  void setAlert(bool on);
  [[nodiscard]] std::int32_t getTag() const noexcept { return tag; }
  /// The part that shows the value and has the keys.
  [[nodiscard]] CControl* valuePart() const noexcept { return shownPart; }
  /// Null without one.
  [[nodiscard]] LineFader* fader() const noexcept { return rail; }

  void setLinkHighlight(bool on, CColor colour) override;
  void setMidiHighlight(bool on, CColor colour) override;
  void setDisabled(bool on) override;
  void setLearning(bool on) override;
  void setLinkState(bool linked, bool locked) override;

  void partHovered(bool on) override;
  void partChanged() override;
  [[nodiscard]] float sharedHover() const override { return fade.share(); }
  [[nodiscard]] bool isAnyDragged() const override;

  void setViewSize(const CRect& rect, bool invalidates = true) override;
  void drawRect(CDrawContext& context, const CRect& part) override;
  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;
  void onIdle() override;
  void removed() override;

 protected:
  ValueBlock(const ControlSetup& setup, std::string label, bool isSetupRow);
  ~ValueBlock() override = default;

  /// The parts, which the block takes over; `fader` may be null. Calls no virtual function.
  template <typename Part>
  void setParts(Part* value, LineFader* fader);

 private:
  void layOut();
  void drawIcon(CDrawContext& context);
  void drawLabel(CDrawContext& context);
  /// Its room before the name is taken by an icon.
  [[nodiscard]] bool hasIcon() const;
  [[nodiscard]] ControlOutline::State outlineState() const;
  template <typename Act>
  void forMarks(Act&& act);

  std::int32_t tag;
  std::string label;
  bool isSetupRow;
  bool isAlert = false;
  CControl* shownPart = nullptr;       // children
  ControlMarks* shownMarks = nullptr;  // of `shownPart`
  nCanFocus* shownFocus = nullptr;     // the same
  LineFader* rail = nullptr;
  std::function<float()> widthShown;  // of `shownPart`
  std::function<bool()> isPartDragged;
  bool wasBlinkOn = false;
  HoverFade fade;
  ControlOutline outline;
  BoxPicture rowGround;
  BoxPicture alertGround;
  IconPicture padlock;
};

/// A block whose mode says what it holds: 0 value text and line fader, 1 value text, 2 switch, 3
/// and 11 menu; with 4 added a row of a setup page, with 8 without its name.
class ControlBlock : public ValueBlock {
 public:
  struct Options {
    int mode = 0;
    std::string label{};     ///< empty: the parameter's own name
    std::string menuText{};  ///< entries, as `COptionMenu::addEntries` takes them
    float dragFactor = 3.0F;
    std::string detents{};
    bool marksZero = false;  ///< on the fader
  };
  ControlBlock(const ControlSetup& setup, ValueSource& values, Options options);
};

/// Value text over a fader that is as long as the block is wide.
class ScalableLFControlBlock : public ValueBlock {
 public:
  using Options = ControlBlock::Options;  ///< the mode is of no meaning
  ScalableLFControlBlock(const ControlSetup& setup, ValueSource& values, Options options);
};
