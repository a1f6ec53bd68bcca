#include "state/whole_inflate.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

#include "state/prefix_code.h"

// Numbers of the format by P. Deutsch, DEFLATE Compressed Data Format Specification, RFC 1951, and
// ZLIB Compressed Data Format Specification, RFC 1950.

namespace {

using deflate::BitReader;
using deflate::kEndOfBlock;
using deflate::kInvalid;
using deflate::kLongestCode;
using deflate::plainSymbol;
using deflate::PrefixCode;
using deflate::Symbol;
using deflate::symbolWith;

constexpr unsigned kMostBitsOfALength = 20;  // code and extra bits
constexpr unsigned kMostBitsOfADistance = 28;
constexpr int kMostLengths = 286;
constexpr int kMostDistances = 30;
constexpr std::size_t kLongestMatch = 258;
// What one step may write: a literal per bit, a match, and some bytes past its end.
constexpr std::size_t kRoom = kLongestMatch + 64 + 24;
constexpr std::ptrdiff_t kInputOfAStep = 16;

constexpr Symbol lengthSymbol(std::size_t code, std::size_t bits) {
  constexpr std::array<std::uint16_t, 29> kBases = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                                    15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                                    67, 83, 99, 115, 131, 163, 195, 227, 258};
  if (code < 256) {
    Symbol literal = plainSymbol(code, bits);
    literal.literals = 1;
    return literal;
  }
  if (code == 256) return plainSymbol(kEndOfBlock, bits);
  const std::size_t index = code - 257;
  if (index >= kBases.size()) return plainSymbol(kInvalid, bits);
  return symbolWith(bits, index < 8 || index == 28 ? 0 : index / 4 - 1, kBases[index]);
}

constexpr Symbol distanceSymbol(std::size_t code, std::size_t bits) {
  if (code >= kMostDistances) return plainSymbol(kInvalid, bits);
  if (code < 4) return plainSymbol(code + 1, bits);
  const std::size_t extra = code / 2 - 1;
  return symbolWith(bits, extra, ((2 + (code & 1)) << extra) + 1);
}

std::uint32_t byteOf(std::string_view bytes, std::size_t i) noexcept {
  return static_cast<unsigned char>(bytes[i]);
}

class Inflater {
 public:
  Inflater(std::string_view stream, std::size_t mostBytes) : bits(stream), most(mostBytes) {
    text.resize(std::min(most, 4 * stream.size()) + kRoom);
  }

  /// False where it has to stop.
  [[nodiscard]] bool run() {
    for (unsigned isLast = 0; isLast == 0;) {
      unsigned type = 0;
      if (!bits.take(1, isLast) || !bits.take(2, type)) return false;
      if (!readBlock(type) || size > most) return false;
    }
    text.resize(size);
    return true;
  }
  /// The bytes after the last block.
  [[nodiscard]] std::string_view rest() noexcept { return bits.bytes(); }
  [[nodiscard]] std::string& result() noexcept { return text; }

 private:
  /// Room for `bytes` and one step more; false for more than may be.
  [[nodiscard]] bool reserve(std::size_t bytes) {
    if (text.size() - size >= bytes + kRoom) return true;
    if (size + bytes > most) return false;
    text.resize(std::min(2 * text.size(), most + kRoom) + bytes + kRoom);
    return true;
  }

  [[nodiscard]] bool readBlock(unsigned type) {
    switch (type) {
      case 0:
        return copyStored();
      case 1:
        return takeFixedCodes() && decode();
      case 2:
        return takeCodes() && decode();
      default:
        return false;
    }
  }

  [[nodiscard]] bool copyStored() {
    const std::string_view bytes = bits.bytes();
    if (bytes.size() < 4) return false;
    const std::size_t length = byteOf(bytes, 0) + byteOf(bytes, 1) * 256;
    if (length != 0xFFFF - (byteOf(bytes, 2) + byteOf(bytes, 3) * 256)) return false;
    if (bytes.size() - 4 < length || !reserve(length)) return false;
    std::memcpy(text.data() + size, bytes.data() + 4, length);
    size += length;
    bits.skip(4 + length);
    return true;
  }

  [[nodiscard]] bool takeFixedCodes() {
    std::array<std::uint8_t, 288> ofLengths;
    std::fill_n(ofLengths.begin(), 144, std::uint8_t{8});
    std::fill_n(ofLengths.begin() + 144, 112, std::uint8_t{9});
    std::fill_n(ofLengths.begin() + 256, 24, std::uint8_t{7});
    std::fill_n(ofLengths.begin() + 280, 8, std::uint8_t{8});
    std::array<std::uint8_t, 32> ofDistances;
    ofDistances.fill(5);
    return build(ofLengths, ofDistances);
  }

  [[nodiscard]] bool takeCodes() {
    constexpr std::array<std::uint8_t, 19> kOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                     11, 4,  12, 3, 13, 2, 14, 1, 15};
    unsigned lengthCodes = 0;
    unsigned distanceCodes = 0;
    unsigned codes = 0;
    if (!bits.take(5, lengthCodes) || !bits.take(5, distanceCodes) || !bits.take(4, codes)) {
      return false;
    }
    lengthCodes += 257;
    distanceCodes += 1;
    if (lengthCodes > kMostLengths || distanceCodes > kMostDistances) return false;
    std::array<std::uint8_t, kOrder.size()> ofCodes{};
    for (unsigned i = 0; i < codes + 4; ++i) {
      unsigned length = 0;
      if (!bits.take(3, length)) return false;
      ofCodes[kOrder[i]] = static_cast<std::uint8_t>(length);
    }
    PrefixCode<7> code;
    std::array<std::uint8_t, kMostLengths + kMostDistances> all{};
    const auto used = std::span(all).first(lengthCodes + distanceCodes);
    if (!code.build(ofCodes, plainSymbol) || !takeCodeLengths(code, used)) return false;
    // Without an end of the block there is none.
    return all[256] != 0 && build(used.first(lengthCodes), used.subspan(lengthCodes));
  }

  [[nodiscard]] bool takeCodeLengths(const PrefixCode<7>& code, std::span<std::uint8_t> list) {
    for (std::size_t i = 0; i < list.size();) {
      bits.refill();
      const Symbol symbol = code.at(bits.peek());
      if (!bits.has(symbol.all)) return false;
      bits.drop(symbol.all);
      if (symbol.value < 16) {
        list[i++] = static_cast<std::uint8_t>(symbol.value);
        continue;
      }
      // 16: the last one 3 to 6 times; 17: 3 to 10 zeros; 18: 11 to 138 zeros.
      if (symbol.value == 16 && i == 0) return false;
      const std::uint8_t repeated = symbol.value == 16 ? list[i - 1] : std::uint8_t{0};
      unsigned times = 0;
      if (!bits.take(symbol.value == 16 ? 2 : symbol.value == 17 ? 3 : 7, times)) return false;
      times += symbol.value == 18 ? 11 : 3;
      if (times > list.size() - i) return false;
      std::fill_n(list.begin() + static_cast<std::ptrdiff_t>(i), times, repeated);
      i += times;
    }
    return true;
  }

  [[nodiscard]] bool build(std::span<const std::uint8_t> ofLengths,
                           std::span<const std::uint8_t> ofDistances) {
    if (!lengths.build(ofLengths, lengthSymbol)) return false;
    if (!distances.build(ofDistances, distanceSymbol)) return false;
    lengths.join();
    return true;
  }

  /// The symbols of a block.
  [[nodiscard]] bool decode() {
    for (;;) {
      if (!reserve(0)) return false;
      const Step step = bits.hasBytes(kInputOfAStep) ? decodeSome<false>() : decodeSome<true>();
      if (step != Step::kGoesOn) return step == Step::kEnd;
    }
  }

  enum class Step { kGoesOn, kEnd, kFails };

  /// As long as there is room for what a step writes and, unless `isNearEnd`, input for a whole
  /// step, so that it need not be checked.
  template <bool isNearEnd>
  [[nodiscard]] Step decodeSome() {
    BitReader from = bits;
    char* const begin = text.data();
    char* const last = begin + text.size() - kRoom;
    char* out = begin + size;
    Step step = Step::kGoesOn;
    const auto ends = [&step](Step how) {
      step = how;
      return false;
    };
    const auto decodeStep = [&] {
      refill<isNearEnd>(from);
      Symbol symbol = lengths.at(from.peek());
      while (symbol.literals != 0 && from.has(kLongestCode + kMostBitsOfALength)) {
        out = write(out, symbol);
        from.drop(symbol.all);
        symbol = lengths.at(from.peek());
      }
      if (isNearEnd && !from.has(symbol.all)) return ends(Step::kFails);
      if (symbol.literals != 0) {
        out = write(out, symbol);
        from.drop(symbol.all);
        return true;
      }
      const std::size_t length = take(from, symbol);
      if (length >= kEndOfBlock) return ends(length == kEndOfBlock ? Step::kEnd : Step::kFails);
      if (!from.has(kMostBitsOfADistance)) refill<isNearEnd>(from);
      const Symbol distance = distances.at(from.peek());
      if (isNearEnd && !from.has(distance.all)) return ends(Step::kFails);
      const std::size_t back = take(from, distance);
      if (back > static_cast<std::size_t>(out - begin)) return ends(Step::kFails);
      copyMatch(out, back, length);
      out += length;
      return true;
    };
    while (out <= last && (isNearEnd || from.hasBytes(kInputOfAStep)) && decodeStep()) {
    }
    bits = from;
    size = static_cast<std::size_t>(out - begin);
    return step;
  }

  template <bool isNearEnd>
  static void refill(BitReader& from) noexcept {
    if (isNearEnd) {
      from.refill();
    } else {
      from.refillFast();
    }
  }

  static char* write(char* out, const Symbol& symbol) noexcept {
    std::memcpy(out, &symbol.value, sizeof symbol.value);
    return out + symbol.literals;
  }

  /// The base and what its extra bits add.
  static std::size_t take(BitReader& from, const Symbol& symbol) noexcept {
    const std::uint32_t bits = from.peek(symbol.all);
    from.drop(symbol.all);
    return symbol.value + (bits >> symbol.bits);
  }

  /// Writes up to 24 bytes more than it has to.
  static void copyMatch(char* out, std::size_t back, std::size_t length) noexcept {
    const char* from = out - back;
    char* const end = out + length;
    if (back < 8) {
      while (out < end) *out++ = *from++;
      return;
    }
    const auto copyEight = [&out, &from] {
      std::memcpy(out, from, 8);
      out += 8;
      from += 8;
    };
    // Most are not longer than that.
    copyEight();
    copyEight();
    copyEight();
    while (out < end) copyEight();
  }

  BitReader bits;
  const std::size_t most;
  std::string text;
  std::size_t size = 0;  // of what is there of it
  PrefixCode<10> lengths;
  PrefixCode<9> distances;
};

// NOLINTBEGIN(modernize-use-using): an alias drops the attributes
typedef std::uint8_t Bytes __attribute__((vector_size(16)));
typedef std::uint16_t Sums __attribute__((vector_size(32)));
// NOLINTEND(modernize-use-using)

/// Adler-32 as RFC 1950 has it, of less than 2^28 bytes: so much its sums hold without a division.
std::uint32_t checksumOf(std::string_view text) noexcept {
  constexpr std::uint64_t kModulus = 65521;
  constexpr std::size_t kLanes = sizeof(Bytes);
  constexpr std::size_t kMostSteps = 22;  // 16 bits hold the sums of so many sums
  std::uint64_t sum = 1;
  std::uint64_t sumOfSums = 0;
  while (text.size() >= kLanes) {
    const std::size_t steps = std::min(text.size() / kLanes, kMostSteps);
    Sums lanes{};    // of every 16th byte
    Sums earlier{};  // what they were before each step
    for (std::size_t step = 0; step < steps; ++step) {
      Bytes bytes;
      std::memcpy(&bytes, text.data() + step * kLanes, kLanes);
      earlier += lanes;
      lanes += __builtin_convertvector(bytes, Sums);
    }
    sumOfSums += sum * steps * kLanes;
    for (std::size_t i = 0; i < kLanes; ++i) {
      sum += lanes[i];
      sumOfSums += kLanes * earlier[i] + (kLanes - i) * lanes[i];
    }
    text.remove_prefix(steps * kLanes);
  }
  for (std::size_t i = 0; i < text.size(); ++i) sumOfSums += sum += byteOf(text, i);
  return static_cast<std::uint32_t>(sumOfSums % kModulus << 16 | sum % kModulus);
}

}  // namespace

std::optional<std::string> inflateWhole(std::string_view stream, std::size_t mostBytes) {
  if constexpr (std::endian::native != std::endian::little) return std::nullopt;
  // Of the usual window, without a dictionary.
  if (stream.size() < 2 || byteOf(stream, 0) != 0x78 || (byteOf(stream, 1) & 0x20) != 0 ||
      (byteOf(stream, 0) * 256 + byteOf(stream, 1)) % 31 != 0) {
    return std::nullopt;
  }
  Inflater inflater(stream.substr(2), mostBytes);
  if (!inflater.run()) return std::nullopt;
  const std::string_view rest = inflater.rest();
  if (rest.size() < 4) return std::nullopt;
  std::uint32_t stored = 0;
  for (std::size_t i = 0; i < 4; ++i) stored = stored << 8 | byteOf(rest, i);
  if (checksumOf(inflater.result()) != stored) return std::nullopt;
  return std::move(inflater.result());
}
