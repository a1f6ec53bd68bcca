#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "toolkit/face.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

void draw(const Face& face, char32_t character, float size, float shift) {
  const float advance = face.advance(character, size);
  require(std::isfinite(advance) && (advance >= 0.0F || size < 0.0F));
  const Face::Box box = face.box(character, size, shift);
  if (box.isEmpty()) return;
  // As the header of the checks has it: eight ems to either side, at least half an em of height.
  const int most = static_cast<int>(32.0F * size) + 2;
  require(box.width() <= most && box.height() <= most);
  const std::unique_ptr<std::uint8_t[]> pixels(
      new std::uint8_t[static_cast<std::size_t>(box.width()) *
                       static_cast<std::size_t>(box.height())]);
  face.rasterise(character, size, shift, pixels.get(), box.width());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<char> bytes(data, data + size);
  const auto face = Face::read(std::string_view(bytes.data(), size));
  if (!face) return 0;
  require(std::isfinite(face->ascent(12.0F)));
  for (char32_t character = 32; character < 0x180; ++character) {
    if (face->has(character)) draw(*face, character, 13.0F, 0.4F);
  }
  for (const char32_t character : {U'A', U'\u2022', U'\uF0E2'}) {
    draw(*face, character, 40.0F, 0.0F);
    draw(*face, character, -1.0F, 0.0F);
    draw(*face, character, 1e6F, 0.0F);
  }
  static_cast<void>(face->width("plain \xC3\xA4 \xFF", 9.0F));
  return 0;
}
