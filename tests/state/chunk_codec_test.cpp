#include "state/chunk_codec.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>

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

std::string noise(std::size_t size) {
  std::mt19937 random(4);
  std::string text(size, '\0');
  for (char& c : text) c = static_cast<char>(random());
  return text;
}

// Of texts that shrink to nothing and of texts that grow, the packed or the plain form ends at each
// place around the edge of a block.
TEST(ChunkCodec, EveryLengthComesBackAndIsWhatTheSystemPacks) {
  const std::string blank(3 * kBlock + 40, ' ');
  const std::string grown = noise(blank.size());
  for (const std::string& source : {blank, grown}) {
    for (std::size_t size = 0; size < source.size(); ++size) {
      if (size % kBlock == 40) size += kBlock - 80;
      const std::string text = source.substr(0, size);
      const auto packed = packChunk(text, 1 + static_cast<int>(size % 9));
      ASSERT_EQ(packed, packedBySystem(text, 1 + static_cast<int>(size % 9))) << size;
      ASSERT_TRUE(isPackedChunk(*packed));
      for (const char* const behind : {"", "\n", "\r\n", "ZIP ZIP "}) {
        ASSERT_EQ(unpackChunk(*packed + behind), text) << size;
      }
      // Without its checksum the text is still whole.
      ASSERT_EQ(unpackChunk(packed->substr(0, packed->size() - 4)), text) << size;
    }
  }
}

TEST(ChunkCodec, DamagedChunksGiveABeginningOrNothing) {
  for (const std::string& text : {std::string(2 * kBlock, 'x'), noise(600)}) {
    const std::string good = *packChunk(text, 9);
    for (std::size_t cut = 0; cut < good.size(); ++cut) {
      const auto begun = unpackChunk(good.substr(0, cut));
      ASSERT_TRUE(begun && text.starts_with(*begun)) << cut;
    }
    std::size_t refused = 0;
    for (std::size_t bit = 8 * kPackedMark.size(); bit < 8 * good.size(); ++bit) {
      std::string flipped = good;
      flipped[bit / 8] ^= static_cast<char>(1U << bit % 8);
      refused += unpackChunk(flipped) ? 0 : 1;
    }
    // Few bits make the stream end early, and some of its last byte mean nothing.
    EXPECT_GT(refused, 6 * (good.size() - kPackedMark.size()));
  }
  for (const char* const none : {"ZIP {}", "ZIP  \x78\x9c", "ZIP \x78\xbb\1\1\1\1"}) {
    EXPECT_EQ(unpackChunk(none), std::nullopt);
  }
  EXPECT_EQ(unpackChunk(*packChunk(std::string(kMostDocumentBytes + kBlock + 1, ' '), 9)),
            std::nullopt);
  EXPECT_EQ(unpackChunk(""), "");
}

TEST(ChunkCodec, TellsDocumentsFromOtherBytes) {
  const std::string most = "{\"a\":\"" + std::string(kMostDocumentBytes - 8, 'x') + "\"}";
  for (const std::string& is : {std::string("{}"), std::string(" {\"a\":1} tail"), most}) {
    EXPECT_TRUE(holdsDocument(is) && holdsDocument(*packChunk(is, 1))) << is.substr(0, 9);
  }
  for (const std::string& none : {std::string(), std::string("[1]"), std::string("{\"a\""),
                                  std::string("ZIP {}"), std::string("ZIP "), most + " "}) {
    EXPECT_FALSE(holdsDocument(none) || holdsDocument(*packChunk(none, 1))) << none.substr(0, 9);
  }
  for (const char* const plain : {"", "ZIP", "zip ", " ZIP "}) EXPECT_FALSE(isPackedChunk(plain));
}

}  // namespace
