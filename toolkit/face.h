#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// The code points of a UTF-8 text; what is no such gives U+FFFD, once for each byte.
[[nodiscard]] std::u32string codePoints(std::string_view utf8);

/// What is shown for a character of the program's texts: those for which plain text has none of
/// their own are written as others. `$` is a bullet, `~` an arrow to the left, 127 one to the
/// right.
[[nodiscard]] char32_t shownBy(char32_t character) noexcept;

/// A typeface that is part of the program. Sizes are heights in pixels from the highest ascender to
/// the lowest descender, as the face has them. Threads: any; nothing changes after construction.
class Face {
 public:
  /// The face of this name among the `TTF` resources, one object for the whole process; null where
  /// there is none or it is damaged.
  [[nodiscard]] static std::shared_ptr<const Face> find(std::string_view name);
  /// Faces that were found stay with those who hold them alone.
  static void giveUpLoaded();
  /// From the bytes of a TrueType file, which must outlive it; null where they are damaged.
  [[nodiscard]] static std::shared_ptr<const Face> read(std::string_view bytes);
  ~Face();

  /// Pixels per unit of the face.
  [[nodiscard]] float scaleFor(float size) const;
  [[nodiscard]] float ascent(float size) const;
  /// From the start of a character to that of the next. One that the face has not is as wide as
  /// the face's stand-in for such, of which nothing is drawn.
  [[nodiscard]] float advance(char32_t character, float size) const;
  [[nodiscard]] float width(std::string_view utf8, float size) const;
  [[nodiscard]] bool has(char32_t character) const;

  /// Edges of a character's picture around its start on the baseline, in whole pixels, y down.
  struct Box {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    bool operator==(const Box&) const = default;
    [[nodiscard]] bool isEmpty() const { return right <= left || bottom <= top; }
    [[nodiscard]] int width() const { return right - left; }
    [[nodiscard]] int height() const { return bottom - top; }
  };
  /// `shift`: by how much of a pixel the character is moved to the right, 0 to less than 1. Empty
  /// for sizes beyond `kLargestSize`.
  [[nodiscard]] Box box(char32_t character, float size, float shift = 0.0F) const;
  /// Writes coverage, 0 to 255, of a character's box to rows of `stride` bytes.
  void rasterise(char32_t character, float size, float shift, std::uint8_t* out, int stride) const;

  static constexpr float kLargestSize = 512.0F;

 private:
  struct Parsed;
  explicit Face(std::unique_ptr<Parsed> parsed);
  [[nodiscard]] int glyphOf(char32_t character) const;

  std::unique_ptr<Parsed> file;
};
