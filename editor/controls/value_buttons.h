#pragma once

#include <string>

#include "editor/controls/value_part.h"
#include "toolkit/buttons.h"
#include "toolkit/device_picture.h"

/// Two states in words: `onText` and `offText`, each in its colour; a press goes from one to the
/// other. `hasPill`: on a filled pill when on, in an outlined one when off, at the side that the
/// style's alignment names. Threads, for all of these: as `CView`.
class CTextValueButton : public ValuePart<COnOffButton> {
 public:
  struct Words {
    std::string onText;
    std::string offText;
    CColor onColour;
    CColor offColour;
    bool hasPill = true;
    bool isOnFirst = false;  ///< of two words side by side: that for 1 stands before that for 0
  };
  CTextValueButton(const ControlSetup& setup, Words words, TextStyle style);

  [[nodiscard]] bool isTabStop() const override { return !isBlank() && ValuePart::isTabStop(); }
  [[nodiscard]] const Words& getWords() const noexcept { return words; }
  [[nodiscard]] std::string shownText() const override {
    return isOn() ? words.onText : words.offText;
  }
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  /// Of the pill or the word.
  [[nodiscard]] float shownWidth() const override;

 protected:
  ~CTextValueButton() override = default;
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;
  [[nodiscard]] const TextStyle& getStyle() const noexcept { return style; }

 private:
  /// An area over what another control draws.
  [[nodiscard]] bool isBlank() const { return words.onText == " " && words.offText == " "; }
  void drawPill(CDrawContext& context);

  Words words;
  TextStyle style;
  BoxPicture pill;
};

/// Two words with a dash between them, `prefix` before them: the one in force is lit and
/// underlined. The first is that for 0, unless the words say otherwise.
class CDashSeparatedTextValueButton : public CTextValueButton {
 public:
  CDashSeparatedTextValueButton(const ControlSetup& setup, std::string prefix, Words words,
                                TextStyle style);

  void draw(CDrawContext& context) override;

 private:
  std::string prefix;
};

/// An icon of the face, dark on a light ground while on.
class SCListenButton : public CTextValueButton {
 public:
  explicit SCListenButton(const ControlSetup& setup);

  void draw(CDrawContext& context) override;

 protected:
  SCListenButton(const ControlSetup& setup, const std::string& glyph, float glyphSize);

 private:
  BoxPicture ground;
};

/// Whether two things are linked.
class nLinkIconButton : public SCListenButton {
 public:
  explicit nLinkIconButton(const ControlSetup& setup);
};
