#include "state/chunk_codec.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <utility>

#include "state/whole_inflate.h"

namespace {

constexpr std::size_t kBlock = 8192;  // bytes in and out at a time

using Block = std::array<char, kBlock>;

/// Ends a stream when its scope is left in whatever way.
struct StreamEnd {
  z_stream& stream;
  int (*end)(z_stream*);
  ~StreamEnd() { end(&stream); }
};

void feed(z_stream& stream, std::string_view& rest) noexcept {
  const std::string_view next = rest.substr(0, kBlock);
  rest.remove_prefix(next.size());
  // zlib only reads, but its field is not const.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(next.data()));
  stream.avail_in = static_cast<uInt>(next.size());
}

/// Runs `step` until it has taken all input that `feed` gave, or fails; returns its last result.
template <typename Step>
int drain(z_stream& stream, std::string& out, Step step) {
  Block block;
  int state = Z_OK;
  do {
    stream.next_out = reinterpret_cast<Bytef*>(block.data());
    stream.avail_out = static_cast<uInt>(block.size());
    state = step(&stream);
    out.append(block.data(), block.size() - stream.avail_out);
  } while (state == Z_OK && stream.avail_out == 0);
  return state;
}

}  // namespace

bool isPackedChunk(std::string_view bytes) noexcept { return bytes.starts_with(kPackedMark); }

std::optional<std::string> packChunk(std::string_view text, int level) {
  z_stream stream{};
  if (deflateInit(&stream, level) != Z_OK) return std::nullopt;
  const StreamEnd end{stream, &deflateEnd};
  std::string packed(kPackedMark);
  do {
    feed(stream, text);
    const int flush = text.empty() ? Z_FINISH : Z_NO_FLUSH;
    const int state = drain(stream, packed, [flush](z_stream* s) { return deflate(s, flush); });
    if (state == Z_STREAM_ERROR) {
      std::fputs("bailing!\n", stderr);
      return std::nullopt;
    }
  } while (!text.empty());
  return packed;
}

std::optional<std::string> unpackChunk(std::string_view bytes) {
  bytes.remove_prefix(std::min(bytes.size(), kPackedMark.size()));
  if (auto whole = inflateWhole(bytes, kMostDocumentBytes)) return whole;
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) throw std::bad_alloc();
  const StreamEnd end{stream, &inflateEnd};
  std::string text;
  int state = Z_OK;
  while (!bytes.empty() && state != Z_STREAM_END) {
    feed(stream, bytes);
    state = drain(stream, text, [&text](z_stream* s) {
      return text.size() > kMostDocumentBytes ? Z_DATA_ERROR : inflate(s, Z_NO_FLUSH);
    });
    if (state == Z_MEM_ERROR) throw std::bad_alloc();
    // `Z_BUF_ERROR` only means that the stream waits for more input.
    const bool goesOn = state == Z_OK || state == Z_BUF_ERROR || state == Z_STREAM_END;
    if (!goesOn) return std::nullopt;
  }
  return text;
}

std::shared_ptr<const JsonNode> readDocument(std::string_view bytes) {
  // Bytes that cannot be unpacked are tried as plain text, so the limit applies to both.
  if (bytes.size() > kMostDocumentBytes) return nullptr;
  std::optional<std::string> text;
  if (isPackedChunk(bytes)) text = unpackChunk(bytes);
  if (!text) text = std::string(bytes);
  auto root = jsonReadInPlace(std::move(*text));
  return jsonIsType(root.get(), kJsonObject) ? std::move(root) : nullptr;
}
