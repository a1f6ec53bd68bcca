#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "toolkit/bitmap.h"
#include "toolkit/face.h"

/// Part of a picture, in its pixels, and where it goes: whole device pixels.
struct DeviceQuad {
  CRect source;
  CRect target;
};

/// The characters 32 to 127 of a face at one size in device pixels, rasterised once into one row
/// and written without being resampled, each as `shownBy` has it. Everything else in a text is
/// passed over. Threads: one at a time.
class BakedFont {
 public:
  /// No face: nothing is drawn and texts measure 0.
  BakedFont(std::shared_ptr<const Face> face, float size);
  virtual ~BakedFont() = default;
  BakedFont(const BakedFont&) = delete;
  BakedFont& operator=(const BakedFont&) = delete;

  struct Glyph {
    char32_t character = 0;
    std::uint16_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // its place in the atlas
    int xOffset = 0, yOffset = 0;  // of its upper left corner, from its start on the baseline
    float advance = 0.0F;
  };
  /// Of `character` 32 to 127.
  [[nodiscard]] const Glyph& glyph(char character) const noexcept {
    return glyphs[static_cast<unsigned char>(character) - 32U];
  }
  [[nodiscard]] const Face* face() const noexcept { return font.get(); }
  [[nodiscard]] float size() const noexcept { return pixels; }
  /// Whole pixels from the top of a line to its baseline.
  [[nodiscard]] int ascent() const noexcept { return roundedAscent; }
  /// White times coverage.
  [[nodiscard]] const CBitmap& atlas() const noexcept { return *picture; }

  [[nodiscard]] float width(std::string_view text) const noexcept;
  /// Appends what a text consists of, its start on the baseline at `start`: whole pixels.
  void place(std::string_view text, CPoint start, std::vector<DeviceQuad>& quads) const;

 protected:
  explicit BakedFont(float size);

  std::shared_ptr<const Face> font;
  float pixels;
  int roundedAscent = 0;
  std::array<Glyph, 96> glyphs{};
  Held<CBitmap> picture;

 private:
  void bake();
};

/// Letters of a picture that holds 0 to 9, A to Z, a to z and .%-,+#:/ in a row, apart by empty
/// columns; a character that it lacks is passed over by a fixed width. Each of its pixels makes a
/// square of `factor` device pixels.
class BakedPixelFont : public BakedFont {
 public:
  /// No picture, or one with fewer letters: those missing draw nothing.
  BakedPixelFont(Held<CBitmap> strip, int factor);
};
