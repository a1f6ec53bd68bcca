#include "state/whole_inflate.h"

#include <libdeflate.h>

#include <algorithm>
#include <memory>
#include <new>

namespace {

constexpr std::size_t kFirstGuess =
    16;  // times as long as the stream, what most documents unpack to

struct Free {
  void operator()(libdeflate_decompressor* made) const noexcept {
    libdeflate_free_decompressor(made);
  }
};

}  // namespace

std::optional<std::string> inflateWhole(std::string_view stream, std::size_t mostBytes) {
  const std::unique_ptr<libdeflate_decompressor, Free> reader(libdeflate_alloc_decompressor());
  if (reader == nullptr) throw std::bad_alloc();
  std::string text;
  std::size_t room = std::min(mostBytes, kFirstGuess * stream.size());
  for (;;) {
    text.resize(room);
    std::size_t taken = 0;
    std::size_t length = 0;
    const libdeflate_result result = libdeflate_zlib_decompress_ex(
        reader.get(), stream.data(), stream.size(), text.data(), room, &taken, &length);
    if (result == LIBDEFLATE_SUCCESS) {
      text.resize(length);
      return text;
    }
    if (result != LIBDEFLATE_INSUFFICIENT_SPACE || room == mostBytes) return std::nullopt;
    room = room > mostBytes / 4 ? mostBytes : room * 4;
  }
}
