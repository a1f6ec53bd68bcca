#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "state/json_detail.h"
#include "state/json_document.h"
#include "state/json_print_buffer.h"

namespace json_detail {

void release(JsonPrintBuffer& buffer) noexcept {
  std::free(buffer.data);
  buffer = {};
}

void start(JsonPrintBuffer& buffer) noexcept {
  buffer = {};
  buffer.data = static_cast<char*>(allocate(JsonPrintBuffer::kFirstCapacity));
  if (buffer.data) buffer.capacity = JsonPrintBuffer::kFirstCapacity;
}

char* ensure(JsonPrintBuffer& buffer, std::size_t bytes) noexcept {
  constexpr std::size_t kLargest = std::size_t{1} << 30;
  if (!buffer.data) return nullptr;
  const auto offset = static_cast<std::size_t>(buffer.offset);
  const auto capacity = static_cast<std::size_t>(buffer.capacity);
  if (bytes <= capacity - offset) return buffer.data + offset;

  const bool fits = bytes <= kLargest - offset;
  const std::size_t larger = fits ? std::bit_ceil(offset + bytes) : 0;
  char* const data = fits ? static_cast<char*>(allocate(larger)) : nullptr;
  if (!data) {
    release(buffer);
    return nullptr;
  }
  std::memcpy(data, buffer.data, capacity);
  std::free(buffer.data);
  buffer.data = data;
  buffer.capacity = static_cast<std::int32_t>(larger);
  return data + offset;
}

}  // namespace json_detail

namespace {

using json_detail::ensure;

// Bytes that have an escape of their own, and its letter.
constexpr std::string_view kEscaped = "\b\f\n\r\t\"\\";
constexpr std::string_view kEscapeLetters = "bfnrt\"\\";

// How many extra bytes a byte takes inside quotes.
constexpr std::array<unsigned char, 256> escapeCosts() noexcept {
  std::array<unsigned char, 256> costs{};
  for (std::size_t i = 1; i < 32; ++i) costs[i] = 5;
  for (const char c : kEscaped) costs[static_cast<unsigned char>(c)] = 1;
  return costs;
}
constexpr std::array<unsigned char, 256> kEscapeCosts = escapeCosts();

char* writeEscaped(char* out, char c) noexcept {
  constexpr char kHexDigits[] = "0123456789abcdef";
  *out++ = '\\';
  const std::size_t place = kEscaped.find(c);
  if (place != std::string_view::npos) {
    *out++ = kEscapeLetters[place];
    return out;
  }
  for (const char zero : {'u', '0', '0'}) *out++ = zero;
  *out++ = kHexDigits[static_cast<unsigned char>(c) >> 4];
  *out++ = kHexDigits[c & 0xF];
  return out;
}

// The widest is rule "%.0f": a sign and 60 digits.
constexpr std::size_t kNumberRoom = 80;

// "%.10f" of a magnitude from 1e-6 to 1e9, exactly rounded, at a fraction of the cost of
// std::to_chars. Nearly every number of a session is printed this way.
char* writeTenPlaces(char* out, double d) noexcept {
  if (d < 0.0) *out++ = '-';
  const double magnitude = std::fabs(d);
  auto whole = static_cast<std::uint32_t>(magnitude);
  const double fraction = magnitude - whole;  // exact
  // `scaled` + `rest` is the exact product, so rounding cannot hide anything from the comparison
  // below.
  const double scaled = fraction * 1e10;
  const double rest = std::fma(fraction, 1e10, -scaled);
  auto places = static_cast<std::uint64_t>(scaled);
  const double aboveHalf = scaled - static_cast<double>(places) - 0.5;
  if (aboveHalf > -rest || (aboveHalf == -rest && places % 2 != 0)) ++places;
  if (places == 10'000'000'000) {
    places = 0;
    ++whole;
  }
  out = std::to_chars(out, out + kNumberRoom / 2, whole).ptr;
  *out = '.';
  for (char* digit = out + 10; digit != out; places /= 10) {
    *digit-- = static_cast<char>('0' + places % 10);
  }
  return out + 11;
}

// Writes the same bytes as the C formats named, whatever locale the host has set.
char* writeNumber(char* out, const JsonNode& node) noexcept {
  constexpr double kEpsilon = 2.220446049250313e-16;
  char* const end = out + kNumberRoom;
  const double d = node.valueDouble;
  const std::int32_t i = node.valueInt;
  if (d == 0.0) {
    *out = '0';
    return out + 1;
  }
  if (std::fabs(i - d) <= kEpsilon && d >= -2147483648.0 && d <= 2147483647.0) {
    return std::to_chars(out, end, i).ptr;  // %d
  }
  if (std::fabs(std::floor(d) - d) <= kEpsilon && std::fabs(d) < 1e60) {
    return std::to_chars(out, end, d, std::chars_format::fixed, 0).ptr;  // %.0f
  }
  if (!std::isfinite(d)) return std::copy_n("null", 4, out);
  if (std::fabs(d) < 1e-6 || std::fabs(d) > 1e9) {
    return std::to_chars(out, end, d, std::chars_format::scientific, 6).ptr;  // %e
  }
  return writeTenPlaces(out, d);
}

// Writes a tree to a buffer, which holds a terminated text at every step. Every print operation
// returns false if something cannot be printed or memory runs out.
class JsonPrinter {
 public:
  explicit JsonPrinter(bool indented) noexcept : formatted(indented) { json_detail::start(buffer); }
  ~JsonPrinter() { json_detail::release(buffer); }
  JsonPrinter(const JsonPrinter&) = delete;
  JsonPrinter& operator=(const JsonPrinter&) = delete;

  // Returns the text of the tree, or null; the caller owns it.
  [[nodiscard]] char* print(const JsonNode& root) noexcept {
    if (!printValue(root, 0)) return nullptr;
    char* const text = buffer.data;
    buffer = {};
    return text;
  }

 private:
  bool printValue(const JsonNode& node, int depth) noexcept;
  bool printText(std::string_view text) noexcept;
  bool printNumber(const JsonNode& node) noexcept;
  bool printString(const char* text) noexcept;
  bool printArray(const JsonNode& node, int depth) noexcept;
  bool printObject(const JsonNode& node, int depth) noexcept;
  bool printTabs(int count) noexcept;
  void finish(char* end) noexcept;

  const bool formatted;
  JsonPrintBuffer buffer{};
};

// `end` is just past the text written; there is room for the zero.
void JsonPrinter::finish(char* end) noexcept {
  *end = 0;
  buffer.offset = static_cast<std::int32_t>(end - buffer.data);
}

bool JsonPrinter::printText(std::string_view text) noexcept {
  char* const out = ensure(buffer, text.size() + 1);
  if (!out) return false;
  std::memcpy(out, text.data(), text.size());
  finish(out + text.size());
  return true;
}

bool JsonPrinter::printTabs(int count) noexcept {
  if (!formatted || count <= 0) return true;
  const auto tabs = static_cast<std::size_t>(count);
  char* const out = ensure(buffer, tabs + 1);
  if (!out) return false;
  std::memset(out, '\t', tabs);
  finish(out + tabs);
  return true;
}

bool JsonPrinter::printNumber(const JsonNode& node) noexcept {
  char* const out = ensure(buffer, kNumberRoom + 1);
  if (!out) return false;
  finish(writeNumber(out, node));
  return true;
}

bool JsonPrinter::printString(const char* text) noexcept {
  if (!text) return false;
  std::size_t escapes = 0;
  const char* end = text;
  for (; *end; ++end) escapes += kEscapeCosts[static_cast<unsigned char>(*end)];
  const auto length = static_cast<std::size_t>(end - text);
  char* out = ensure(buffer, length + escapes + 3);
  if (!out) return false;
  *out++ = '"';
  if (escapes == 0) {
    std::memcpy(out, text, length);
    out += length;
  } else {
    for (; text != end; ++text) {
      if (kEscapeCosts[static_cast<unsigned char>(*text)] == 0) {
        *out++ = *text;
      } else {
        out = writeEscaped(out, *text);
      }
    }
  }
  *out++ = '"';
  finish(out);
  return true;
}

// One line, even around objects, which are indented one level deeper than the array.
bool JsonPrinter::printArray(const JsonNode& node, int depth) noexcept {
  if (!printText("[")) return false;
  for (const JsonNode* item = node.child; item; item = item->next) {
    if (!printValue(*item, depth + 1)) return false;
    if (item->next && !printText(formatted ? ", " : ",")) return false;
  }
  return printText("]");
}

bool JsonPrinter::printObject(const JsonNode& node, int depth) noexcept {
  if (!printText(formatted ? "{\n" : "{")) return false;
  for (const JsonNode* member = node.child; member; member = member->next) {
    if (!printTabs(depth + 1) || !printString(member->key)) return false;
    if (!printText(formatted ? ":\t" : ":") || !printValue(*member, depth + 1)) return false;
    if (member->next && !printText(",")) return false;
    if (formatted && !printText("\n")) return false;
  }
  // An empty object has one tab fewer than one with members, as in sessions already stored.
  return printTabs(node.child ? depth : depth - 1) && printText("}");
}

bool JsonPrinter::printValue(const JsonNode& node, int depth) noexcept {
  switch (node.type & kJsonTypeMask) {
    case kJsonFalse:
      return printText("false");
    case kJsonTrue:
      return printText("true");
    case kJsonNull:
      return printText("null");
    case kJsonNumber:
      return printNumber(node);
    case kJsonString:
      return printString(node.valueString);
    case kJsonArray:
      return printArray(node, depth);
    case kJsonObject:
      return printObject(node, depth);
    default:
      return false;
  }
}

char* printTree(const JsonNode* node, bool formatted) noexcept {
  if (!node) return nullptr;
  return JsonPrinter(formatted).print(*node);
}

}  // namespace

char* jsonPrintFormatted(const JsonNode* node) noexcept { return printTree(node, true); }

char* jsonPrintUnformatted(const JsonNode* node) noexcept { return printTree(node, false); }
