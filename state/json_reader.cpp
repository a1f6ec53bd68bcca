#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "state/json_detail.h"
#include "state/json_document.h"

namespace {

// Atomic, because a host may restore two instances on two threads; relaxed, because it stands
// alone.
std::atomic<const char*> lastErrorPosition{nullptr};

// One parse: where its nodes and texts are kept, the limits that remain, and the fault that stopped
// it.
template <typename Memory>
struct Reading {
  Memory memory;
  const char* end = nullptr;  // of the text: its zero
  std::size_t nodesLeft = kMostDocumentNodes;
  JsonFault fault;
};

// Every reader below returns the position after what it read, or null if the parse has failed.

template <typename Memory>
const char* failAt(Reading<Memory>& reading, const char* position,
                   bool isTooMuch = false) noexcept {
  reading.fault = {position, isTooMuch};
  return nullptr;
}

const char* skipSpace(const char* text) noexcept {
  while (*text && static_cast<unsigned char>(*text) <= 32) ++text;
  return text;
}

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

// The number that eight digits make, if they are there.
bool takeEightDigits(const char* text, std::int64_t& value) noexcept {
  if constexpr (std::endian::native != std::endian::little) return false;
  constexpr std::uint64_t kZeros = 0x3030303030303030;
  constexpr std::uint64_t kHighHalves = 0xF0F0F0F0F0F0F0F0;
  std::uint64_t word = 0;
  std::memcpy(&word, text, sizeof word);
  // Of the bytes from 0x30 to 0x3F digits are those that six more leave there.
  if ((word & kHighHalves) != kZeros || ((word + 0x0606060606060606) & kHighHalves) != kZeros) {
    return false;
  }
  word -= kZeros;
  // Numbers of two digits, of four, of eight.
  word = (word * 10 + (word >> 8)) & 0x00FF00FF00FF00FF;
  word = (word * 100 + (word >> 16)) & 0x0000FFFF0000FFFF;
  word = (word * 10000 + (word >> 32)) & 0xFFFFFFFF;
  value = static_cast<std::int64_t>(word);
  return true;
}

// In integers as long as doubles hold them exactly. `end` of the text.
const char* readDigits(const char* text, const char* end, double& value) noexcept {
  if (!isDigit(*text)) return text;
  constexpr std::int64_t kMostToExtend = ((std::int64_t{1} << 53) - 9) / 10;
  if (value <= static_cast<double>(kMostToExtend)) {
    auto whole = static_cast<std::int64_t>(value);
    if (whole == 0 && end - text >= 8 && takeEightDigits(text, whole)) text += 8;
    while (isDigit(*text) && whole <= kMostToExtend) whole = whole * 10 + (*text++ - '0');
    value = static_cast<double>(whole);
  }
  while (isDigit(*text)) value = value * 10.0 + (*text++ - '0');
  return text;
}

// The result of std::pow, from a table for the usual exponents.
double powerOfTen(double exponent) noexcept {
  constexpr double kMost = 20.0;
  static const auto powers = [] {
    std::array<double, 41> table;  // from -20 on
    for (std::size_t i = 0; i < table.size(); ++i) {
      table[i] = std::pow(10.0, static_cast<double>(i) - kMost);
    }
    return table;
  }();
  if (!(std::fabs(exponent) <= kMost)) return std::pow(10.0, exponent);
  return powers[static_cast<std::size_t>(exponent + kMost)];
}

// Cannot fail: the digits that are there make the value. Only one leading zero is skipped, so "007"
// reads as 0 and leaves "07": on purpose.
const char* readNumber(JsonNode& node, const char* text, const char* end) noexcept {
  double sign = 1.0;
  double value = 0.0;
  double scale = 0.0;
  if (*text == '-') {
    sign = -1.0;
    ++text;
  }
  if (*text == '0') ++text;
  if (*text != '0') text = readDigits(text, end, value);
  if (*text == '.' && isDigit(text[1])) {
    const char* const firstPlace = text + 1;
    text = readDigits(firstPlace, end, value);
    scale = -static_cast<double>(text - firstPlace);
  }
  // The exponent is a double, too, since that cannot overflow, however many digits there are.
  double exponent = 0.0;
  double exponentSign = 1.0;
  if (*text == 'e' || *text == 'E') {
    ++text;
    if (*text == '-') exponentSign = -1.0;
    if (*text == '-' || *text == '+') ++text;
    text = readDigits(text, end, exponent);
  }
  json_detail::setNumber(node, powerOfTen(scale + exponentSign * exponent) * (sign * value));
  return text;
}

int hexDigit(char c) noexcept {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads four bytes, or those left before `end`; 0 unless they are four hexadecimal digits.
std::uint32_t readFourHex(const char*& text, const char* end) noexcept {
  std::uint32_t value = 0;
  bool valid = true;
  int count = 0;
  for (; count < 4 && text != end; ++count) {
    const int digit = hexDigit(*text++);
    valid = valid && digit >= 0;
    value = value * 16 + static_cast<std::uint32_t>(digit);
  }
  return valid && count == 4 ? value : 0;
}

char* writeUtf8(char* out, std::uint32_t code) noexcept {
  const auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
  const auto putTail = [&](unsigned shift) { put(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6));
    putTail(0);
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12));
    putTail(6);
    putTail(0);
  } else {
    put(0xF0 | (code >> 18));
    putTail(12);
    putTail(6);
    putTail(0);
  }
  return out;
}

// Decodes what follows `\u`, including the second half of a surrogate pair. Zero and unpaired
// halves write nothing.
char* decodeUnicode(const char*& text, const char* end, char* out) noexcept {
  const std::uint32_t code = readFourHex(text, end);
  if (code == 0 || (code >= 0xDC00 && code <= 0xDFFF)) return out;
  if (code < 0xD800 || code > 0xDFFF) return writeUtf8(out, code);
  if (end - text < 2 || text[0] != '\\' || text[1] != 'u') return out;
  text += 2;
  const std::uint32_t low = readFourHex(text, end);
  if (low < 0xDC00 || low > 0xDFFF) return out;
  return writeUtf8(out, 0x10000 + (((code & 0x3FF) << 10) | (low & 0x3FF)));
}

char unescaped(char c) noexcept {
  switch (c) {
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return c;
  }
}

// Copies runs of plain bytes as a whole. The output is never longer than the caller has counted,
// and may stand in place of the text.
char* decodeString(const char* text, const char* end, char* out) noexcept {
  while (text != end) {
    const void* const found = std::memchr(text, '\\', static_cast<std::size_t>(end - text));
    const char* const runEnd = found ? static_cast<const char*>(found) : end;
    const auto run = static_cast<std::size_t>(runEnd - text);
    std::memmove(out, text, run);
    out += run;
    text = runEnd;
    if (text == end || ++text == end) break;
    const char escape = *text++;
    if (escape == 'u') {
      out = decodeUnicode(text, end, out);
    } else {
      *out++ = unescaped(escape);
    }
  }
  return out;
}

// Nodes and texts on the heap, each by itself, as `jsonDelete` frees them.
struct HeapMemory {
  static JsonNode* createNode() noexcept { return json_detail::createNode(kJsonNull); }
  static char* keepText(const char* begin, const char* end, std::size_t escapes) noexcept {
    // Each escape gives fewer bytes than it has, by one at least.
    const std::size_t most = static_cast<std::size_t>(end - begin) - escapes;
    auto* const copy = static_cast<char*>(json_detail::allocate(most + 1));
    if (copy) *decodeString(begin, end, copy) = 0;
    return copy;
  }
};

// Nodes in blocks, texts where they stand, each ended in place of its quote. Throws std::bad_alloc.
struct TextMemory {
  static constexpr std::size_t kNodesOfBlock = 256;

  std::string text;
  std::vector<std::unique_ptr<JsonNode[]>> blocks;
  std::size_t nodesLeft = 0;  // of the last block

  JsonNode* createNode() {
    if (nodesLeft == 0) {
      blocks.push_back(std::make_unique<JsonNode[]>(kNodesOfBlock));
      nodesLeft = kNodesOfBlock;
    }
    JsonNode* const node = &blocks.back()[kNodesOfBlock - nodesLeft--];
    node->type = kJsonNull;
    return node;
  }
  // `begin` and `end` in `text`, which is ours to change.
  static char* keepText(const char* begin, const char* end, std::size_t escapes) noexcept {
    auto* const out = const_cast<char*>(begin);
    auto* const outEnd = escapes > 0 ? decodeString(begin, end, out) : const_cast<char*>(end);
    *outEnd = 0;
    return out;
  }
};

// The end of the text ends a string, just as a closing quote does.
template <typename Memory>
const char* readString(Reading<Memory>& reading, char*& result, const char* text) {
  if (*text != '"') return failAt(reading, text);
  const char* const begin = text + 1;
  const char* end = begin;
  std::size_t escapes = 0;
  for (; *end && *end != '"'; ++end) {
    if (*end != '\\') continue;
    ++escapes;
    if (end[1]) ++end;
  }
  const char* const next = *end ? end + 1 : end;
  result = reading.memory.keepText(begin, end, escapes);
  return result ? next : nullptr;
}

template <typename Memory>
const char* readKey(Reading<Memory>& reading, JsonNode& node, const char* text) {
  text = readString(reading, node.key, text);
  if (!text) return nullptr;
  text = skipSpace(text);
  return *text == ':' ? skipSpace(text + 1) : failAt(reading, text);
}

template <typename Memory>
const char* readValue(Reading<Memory>& reading, JsonNode& node, const char* text, int depth);

// An array or object. Each entry is linked before it is read, so that a failure loses none.
template <typename Memory>
const char* readEntries(Reading<Memory>& reading, JsonNode& node, const char* text, int depth) {
  if (depth >= kMostDocumentDepth) return failAt(reading, text, true);
  const bool isObject = *text == '{';
  const char close = isObject ? '}' : ']';
  node.type = isObject ? kJsonObject : kJsonArray;
  text = skipSpace(text + 1);
  if (*text == close) return text + 1;
  for (JsonNode* last = nullptr;; text = skipSpace(text + 1)) {
    if (--reading.nodesLeft == 0) return failAt(reading, text, true);
    JsonNode* const entry = reading.memory.createNode();
    if (!entry) return nullptr;
    json_detail::linkBehind(node, last, *entry);
    last = entry;
    if (isObject) text = readKey(reading, *entry, text);
    if (text) text = readValue(reading, *entry, text, depth + 1);
    if (!text) return nullptr;
    text = skipSpace(text);
    if (*text != ',') break;
  }
  return *text == close ? text + 1 : failAt(reading, text);
}

template <typename Memory>
const char* readWord(Reading<Memory>& reading, JsonNode& node, const char* text) {
  if (std::strncmp(text, "null", 4) == 0) {
    node.type = kJsonNull;
    return text + 4;
  }
  if (std::strncmp(text, "false", 5) == 0) {
    node.type = kJsonFalse;
    return text + 5;
  }
  if (std::strncmp(text, "true", 4) == 0) {
    node.type = kJsonTrue;
    node.valueInt = 1;
    return text + 4;
  }
  return failAt(reading, text);
}

// `depth` counts the brackets around the value.
template <typename Memory>
const char* readValue(Reading<Memory>& reading, JsonNode& node, const char* text, int depth) {
  switch (*text) {
    case '"':
      node.type = kJsonString;
      return readString(reading, node.valueString, text);
    case '[':
    case '{':
      return readEntries(reading, node, text, depth);
    default:
      return *text == '-' || isDigit(*text) ? readNumber(node, text, reading.end)
                                            : readWord(reading, node, text);
  }
}

// The root of a text as `reading` takes it; what there is of it before a fault.
template <typename Memory>
bool readText(Reading<Memory>& reading, JsonNode& root, const char* text) {
  const std::size_t size = ::strnlen(text, kMostDocumentBytes + 1);
  reading.end = text + size;
  if (size > kMostDocumentBytes) {
    return failAt(reading, text + kMostDocumentBytes, true) != nullptr;
  }
  return readValue(reading, root, skipSpace(text), 0) != nullptr;
}

}  // namespace

JsonNode* jsonParse(const char* text, JsonFault& fault) noexcept {
  fault = {};
  if (!text) return nullptr;
  Reading<HeapMemory> reading;
  JsonTree root(HeapMemory::createNode());
  const bool isRead = root && readText(reading, *root, text);
  fault = reading.fault;
  return isRead ? root.release() : nullptr;
}

JsonNode* jsonParse(const char* text) noexcept {
  lastErrorPosition.store(nullptr, std::memory_order_relaxed);
  JsonFault fault;
  JsonNode* const root = jsonParse(text, fault);
  lastErrorPosition.store(fault.position, std::memory_order_relaxed);
  return root;
}

std::shared_ptr<const JsonNode> jsonReadInPlace(std::string&& text) {
  const auto reading = std::make_shared<Reading<TextMemory>>();
  TextMemory& memory = reading->memory;
  memory.text = std::move(text);
  JsonNode* const root = memory.createNode();
  if (!readText(*reading, *root, memory.text.data())) return nullptr;
  return {reading, root};
}

const char* jsonGetErrorPtr() noexcept { return lastErrorPosition.load(std::memory_order_relaxed); }
