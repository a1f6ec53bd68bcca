#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "toolkit/baked_font.h"
#include "toolkit/bitmap.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A heap block of its own, so that one byte read too many is seen.
  const std::vector<char> bytes(data, data + size);
  const Held<CBitmap> picture = CBitmap::decode({bytes.data(), size});
  if (!picture) return 0;
  const int width = picture->getWidth();
  const int height = picture->getHeight();
  if (width < 1 || height < 1 || width > 4096 || height > 4096) std::abort();
  for (int i = 0; i < width * height; ++i) {
    const std::uint32_t pixel = picture->pixels()[i];
    for (int shift = 0; shift < 24; shift += 8) {
      if ((pixel >> shift & 255U) > pixel >> 24) std::abort();
    }
  }
  const BakedPixelFont font(picture, 1);
  std::vector<DeviceQuad> quads;
  font.place("0AZaz./ ?", {}, quads);
  for (const DeviceQuad& quad : quads) {
    if (quad.source.cutTo({0, 0, static_cast<float>(width), static_cast<float>(height)}) !=
        quad.source) {
      std::abort();
    }
  }
  return 0;
}
