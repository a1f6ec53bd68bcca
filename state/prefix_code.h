#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

/// Bits and prefix codes of a deflate stream (P. Deutsch, DEFLATE Compressed Data Format
/// Specification, RFC 1951).
namespace deflate {

inline constexpr unsigned kLongestCode = 15;  // bits

/// What a code stands for.
struct Symbol {
  std::uint8_t all;   // bits of the code and of what is added to the base; 0: not in the table
  std::uint8_t bits;  // of the code; of several literals, of all their codes
  std::uint8_t literals;
  std::uint32_t value;  // literals, the first one lowest; or the base of a length or distance
};

// Values in place of a base; no length or distance is so large.
inline constexpr std::uint32_t kEndOfBlock = 1U << 30;
inline constexpr std::uint32_t kInvalid = 1U << 31;

[[nodiscard]] constexpr Symbol symbolWith(std::size_t bits, std::size_t extra, std::size_t value) {
  return {static_cast<std::uint8_t>(bits + extra), static_cast<std::uint8_t>(bits), 0,
          static_cast<std::uint32_t>(value)};
}

[[nodiscard]] constexpr Symbol plainSymbol(std::size_t code, std::size_t bits) {
  return symbolWith(bits, 0, code);
}

/// The lowest `bits` of a code in the other order.
[[nodiscard]] inline unsigned reversed(unsigned code, unsigned bits) noexcept {
  unsigned result = 0;
  for (; bits > 0; --bits, code >>= 1) result = result * 2 + (code & 1);
  return result;
}

/// Reads bytes as a row of bits, each byte from its lowest bit on. For little-endian processors.
class BitReader {
 public:
  explicit BitReader(std::string_view bytes) noexcept
      : next(bytes.data()), end(bytes.data() + bytes.size()) {}

  /// Gets at least 56 bits ready, or all that are left.
  void refill() noexcept {
    if (end - next >= 8) {
      refillFast();
      return;
    }
    for (; count < 56 && next != end; count += 8) {
      ahead |= std::uint64_t{static_cast<unsigned char>(*next++)} << count;
    }
  }
  /// The same, where `hasBytes(8)`. Bits above `count` may be set already, but never wrongly.
  void refillFast() noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, next, sizeof word);
    ahead |= word << count;
    next += (63 - count) >> 3;
    count |= 56;
  }
  [[nodiscard]] bool hasBytes(std::ptrdiff_t wanted) const noexcept { return end - next >= wanted; }
  [[nodiscard]] std::uint64_t peek() const noexcept { return ahead; }
  [[nodiscard]] std::uint32_t peek(unsigned bits) const noexcept {
    return static_cast<std::uint32_t>(ahead) & ((1U << bits) - 1);
  }
  [[nodiscard]] bool has(unsigned bits) const noexcept { return count >= bits; }
  void drop(unsigned bits) noexcept {
    ahead >>= bits;
    count -= bits;
  }
  /// Takes up to 16 bits; false where fewer are left.
  [[nodiscard]] bool take(unsigned bits, unsigned& value) noexcept {
    refill();
    if (!has(bits)) return false;
    value = peek(bits);
    drop(bits);
    return true;
  }
  /// Drops the rest of a byte that was begun; the bytes after it.
  [[nodiscard]] std::string_view bytes() noexcept {
    next -= count / 8;
    ahead = 0;
    count = 0;
    return {next, static_cast<std::size_t>(end - next)};
  }
  void skip(std::size_t byteCount) noexcept { next += byteCount; }

 private:
  const char* next;
  const char* end;
  std::uint64_t ahead = 0;
  unsigned count = 0;
};

/// A prefix code. Codes of up to `kBits` bits are looked up in a table, longer ones bit by bit.
template <unsigned kBits>
class PrefixCode {
 public:
  /// `lengths` in bits of each code, 0 for one that does not occur; `symbolOf` tells what a code of
  /// a length stands for. False for lengths that leave codes over or want more than there are.
  template <typename SymbolOf>
  [[nodiscard]] bool build(std::span<const std::uint8_t> lengths, const SymbolOf& symbolOf) {
    countOf.fill(0);
    for (const std::uint8_t length : lengths) ++countOf[length];
    countOf[0] = 0;
    std::array<unsigned, kLongestCode + 2> nextCode{};
    std::array<unsigned, kLongestCode + 2> nextPlace{};
    int left = 1;  // codes that are not given yet
    for (unsigned length = 1; length <= kLongestCode; ++length) {
      left = 2 * left - static_cast<int>(countOf[length]);
      if (left < 0) return false;
      nextCode[length + 1] = (nextCode[length] + countOf[length]) * 2;
      nextPlace[length + 1] = nextPlace[length] + countOf[length];
    }
    if (left != 0) return false;
    table.fill({});
    for (std::size_t code = 0; code < lengths.size(); ++code) {
      const std::uint8_t length = lengths[code];
      if (length == 0) continue;
      const Symbol symbol = symbolOf(code, length);
      ordered[nextPlace[length]++] = symbol;
      unsigned place = reversed(nextCode[length]++, length);
      if (length > kBits) continue;
      for (; place < table.size(); place += 1U << length) table[place] = symbol;
    }
    return true;
  }

  /// Lets one lookup give several literals, as many as fit into the bits of the table.
  void join() noexcept {
    const auto single = table;
    for (std::size_t place = 0; place < table.size(); ++place) {
      Symbol& joint = table[place];
      while (joint.literals > 0 && joint.literals < 4) {
        const Symbol& another = single[place >> joint.bits];
        if (another.literals == 0 || joint.bits + another.bits > kBits) break;
        joint.value |= another.value << (8 * joint.literals);
        joint.bits = static_cast<std::uint8_t>(joint.bits + another.bits);
        joint.all = joint.bits;
        ++joint.literals;
      }
    }
  }

  /// What the code at the lowest end of `bits` stands for.
  [[nodiscard]] Symbol at(std::uint64_t bits) const noexcept {
    const Symbol symbol = table[bits & (table.size() - 1)];
    return symbol.all != 0 ? symbol : longer(bits);
  }

 private:
  [[nodiscard]] Symbol longer(std::uint64_t bits) const noexcept {
    unsigned code = 0;
    unsigned first = 0;  // code of its length
    unsigned place = 0;  // of `first`
    for (unsigned length = 1; length <= kLongestCode; ++length, bits >>= 1) {
      code = code * 2 + static_cast<unsigned>(bits & 1);
      first *= 2;
      if (code - first < countOf[length]) return ordered[place + code - first];
      place += countOf[length];
      first += countOf[length];
    }
    return plainSymbol(kInvalid, 1);
  }

  std::array<Symbol, std::size_t{1} << kBits> table;  // by the bits that come next
  std::array<Symbol, 288> ordered;                    // by length and code
  std::array<unsigned, kLongestCode + 1> countOf;     // by length
};

}  // namespace deflate
