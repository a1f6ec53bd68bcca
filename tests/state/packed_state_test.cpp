#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>

#include "state/chunk_codec.h"
#include "state/json_document.h"

namespace {

constexpr std::size_t kBlock = 8192;  // bytes that the codec moves at a time

std::string packedBySystem(const std::string& text, int level) {
  std::string packed(compressBound(text.size()), '\0');
  uLongf size = packed.size();
  compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
            reinterpret_cast<const Bytef*>(text.data()), text.size(), level);
  return "ZIP " + packed.substr(0, size);
}

// Of texts that shrink to nothing and of texts that grow, the packed or the plain form ends at each
// place around the edge of a block.
TEST(ChunkCodec, EveryLengthComesBackAndIsWhatTheSystemPacks) {
  std::mt19937 random(4);
  const std::string blank(3 * kBlock + 40, ' ');
  std::string grown = blank;
  for (char& c : grown) c = static_cast<char>(random());
  for (const std::string& source : {blank, grown}) {
    for (std::size_t size = 0; size < source.size(); ++size) {
      if (size % kBlock == 40) size += kBlock - 80;
      const std::string text = source.substr(0, size);
      const int level = 1 + static_cast<int>(size % 9);
      const auto packed = packChunk(text, level);
      ASSERT_EQ(packed, packedBySystem(text, level)) << size;
      for (const char* const behind : {"", "\n", "\r\n", "ZIP ZIP "}) {
        ASSERT_EQ(unpackChunk(*packed + behind), text) << size;
      }
      // Without its checksum the text is still whole.
      ASSERT_EQ(unpackChunk(packed->substr(0, packed->size() - 4)), text) << size;
    }
    const std::string good = *packChunk(source, 9);
    for (std::size_t cut = 0; cut < good.size(); cut += 1 + good.size() / 500) {
      const auto begun = unpackChunk(good.substr(0, cut));
      ASSERT_TRUE(begun && source.starts_with(*begun)) << cut;
    }
  }
}

TEST(ChunkCodec, TellsDocumentsFromOtherBytes) {
  const std::string most = "{\"a\":\"" + std::string(kMostDocumentBytes - 8, 'x') + "\"}";
  for (const std::string& is : {std::string("{}"), std::string(" {\"a\":1} tail"), most}) {
    EXPECT_TRUE(holdsDocument(is) && holdsDocument(*packChunk(is, 1))) << is.substr(0, 9);
    EXPECT_TRUE(isPackedChunk(*packChunk(is, 1)));
  }
  for (const std::string& none : {std::string(), std::string("[1]"), std::string("{\"a\""),
                                  std::string("ZIP {}"), std::string("ZIP "), most + " "}) {
    EXPECT_FALSE(holdsDocument(none) || holdsDocument(*packChunk(none, 1))) << none.substr(0, 9);
  }
  for (const char* const plain : {"", "ZIP", "zip ", " ZIP "}) EXPECT_FALSE(isPackedChunk(plain));
  const std::string tooMuch = *packChunk(std::string(kMostDocumentBytes + kBlock + 1, ' '), 9);
  for (const std::string& none : {std::string("ZIP {}"), std::string("ZIP  \x78\x9c"),
                                  std::string("ZIP \x78\xbb\1\1\1\1"), tooMuch}) {
    EXPECT_EQ(unpackChunk(none), std::nullopt);
  }
}

}  // namespace
