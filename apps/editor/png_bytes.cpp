#include "apps/editor/png_bytes.h"

#include <png.h>

#include <cstddef>

#include "apps/output/failure.h"

std::string pngBytes(const CBitmap& picture) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.getWidth());
  image.height = static_cast<png_uint_32>(picture.getHeight());
  // RGB of pixels that have a fourth byte: written as such, since the simple writer knows no gap.
  image.format = PNG_FORMAT_RGB;
  std::string rows;
  rows.reserve(static_cast<std::size_t>(picture.getWidth() * picture.getHeight()) * 3);
  const std::size_t count =
      static_cast<std::size_t>(picture.getWidth()) * static_cast<std::size_t>(picture.getHeight());
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t pixel = picture.pixels()[i];
    rows += static_cast<char>(pixel >> 16 & 0xff);
    rows += static_cast<char>(pixel >> 8 & 0xff);
    rows += static_cast<char>(pixel & 0xff);
  }
  png_alloc_size_t size = 0;
  std::string bytes;
  if (png_image_write_get_memory_size(image, size, 0, rows.data(), 0, nullptr) != 0) {
    bytes.resize(size);
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, rows.data(), 0, nullptr) != 0) {
      bytes.resize(size);
      return bytes;
    }
  }
  throw Failure(std::string("the picture cannot be written: ") + image.message);
}
