#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "toolkit/control.h"
#include "toolkit/draw_context.h"

/// How displays are drawn; `COptionMenu` and `CTextEdit` have styles of their own beside these.
enum CParamDisplayStyle : std::int32_t {
  kShadowText = 1 << 0,   ///< black under the text, a pixel lower and to the right
  kNoTextStyle = 1 << 1,  ///< background alone
  kNoDrawStyle = 1 << 2,  ///< nothing at all
  kNoFrame = 1 << 3,      ///< where there is no background: no hairline around it
};

/// A value as a text. Without a background picture, a filled and framed rectangle. Threads: as
/// `CControl`.
class CParamDisplay : public CControl {
 public:
  /// Gives the text of a value.
  using StringConvert = std::function<std::string(float plain)>;

  explicit CParamDisplay(const ControlSetup& setup, std::int32_t style = 0);

  void setStringConvert(StringConvert convert);
  /// Null goes back to the pixel letters.
  void setFont(std::shared_ptr<const Face> face, float size);
  void setFontColor(CColor colour);
  void setBackColor(CColor colour);
  void setFrameColor(CColor colour);
  void setHoriAlign(CHoriTxtAlign align);
  [[nodiscard]] const TextStyle& getTextStyle() const noexcept { return font; }
  [[nodiscard]] CColor getFontColor() const noexcept { return font.colour; }
  void setStyle(std::int32_t bits);
  [[nodiscard]] std::int32_t getStyle() const noexcept { return style; }

  /// Two decimals without a converter.
  [[nodiscard]] std::string shownText() const override;
  void draw(CDrawContext& context) override;

 protected:
  void drawBack(CDrawContext& context);
  void drawText(CDrawContext& context, std::string_view utf8, const CRect& room);

 private:
  StringConvert convert;
  TextStyle font;
  CColor backColor = kTransparentCColor;
  CColor frameColor = kTransparentCColor;
  std::int32_t style;
};

/// A fixed text.
class CTextLabel : public CParamDisplay {
 public:
  explicit CTextLabel(const ControlSetup& setup, std::string text = {}, std::int32_t style = 0);

  void setText(std::string utf8);
  [[nodiscard]] const std::string& getText() const noexcept { return label; }
  [[nodiscard]] std::string shownText() const override { return label; }

 private:
  std::string label;
};
