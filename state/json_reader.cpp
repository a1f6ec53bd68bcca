#include <atomic>
#include <cmath>
#include <cstring>
#include <utility>

#include "state/json_detail.h"
#include "state/json_document.h"

namespace {

// Atomic, because a host may restore two instances on two threads; relaxed, because it stands
// alone.
std::atomic<const char*> lastErrorPosition{nullptr};

// One parse: the limits that remain, and the fault that stopped it.
struct Reading {
  std::size_t nodesLeft = kMostDocumentNodes;
  JsonFault fault;
};

// Every reader below returns the position after what it read, or null if the parse has failed.

const char* failAt(Reading& reading, const char* position, bool isTooMuch = false) noexcept {
  reading.fault = {position, isTooMuch};
  return nullptr;
}

const char* skipSpace(const char* text) noexcept {
  while (*text && static_cast<unsigned char>(*text) <= 32) ++text;
  return text;
}

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

const char* readDigits(const char* text, double& value) noexcept {
  while (isDigit(*text)) value = value * 10.0 + (*text++ - '0');
  return text;
}

// Cannot fail: the digits that are there make the value. Only one leading zero is skipped, so "007"
// reads as 0 and leaves "07": on purpose.
const char* readNumber(JsonNode& node, const char* text) noexcept {
  double sign = 1.0;
  double value = 0.0;
  double scale = 0.0;
  if (*text == '-') {
    sign = -1.0;
    ++text;
  }
  if (*text == '0') ++text;
  if (*text != '0') text = readDigits(text, value);
  if (*text == '.' && isDigit(text[1])) {
    const char* const firstPlace = text + 1;
    text = readDigits(firstPlace, value);
    scale = -static_cast<double>(text - firstPlace);
  }
  // The exponent is a double, too, since that cannot overflow, however many digits there are.
  double exponent = 0.0;
  double exponentSign = 1.0;
  if (*text == 'e' || *text == 'E') {
    ++text;
    if (*text == '-') exponentSign = -1.0;
    if (*text == '-' || *text == '+') ++text;
    text = readDigits(text, exponent);
  }
  const double power = scale + exponentSign * exponent;
  // Most numbers are whole, and pow(10, 0) is 1.
  json_detail::setNumber(node, (power == 0.0 ? 1.0 : std::pow(10.0, power)) * (sign * value));
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

// Copies runs of plain bytes as a whole. The output is never longer than the caller has counted.
char* decodeString(const char* text, const char* end, char* out) noexcept {
  while (text != end) {
    const void* const found = std::memchr(text, '\\', static_cast<std::size_t>(end - text));
    const char* const runEnd = found ? static_cast<const char*>(found) : end;
    const auto run = static_cast<std::size_t>(runEnd - text);
    std::memcpy(out, text, run);
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

// The end of the text ends a string, just as a closing quote does.
const char* readString(Reading& reading, char*& result, const char* text) noexcept {
  if (*text != '"') return failAt(reading, text);
  const char* const begin = text + 1;
  const char* end = begin;
  std::size_t count = 0;
  for (; *end && *end != '"'; ++end, ++count) {
    if (*end == '\\' && end[1]) ++end;
  }
  result = static_cast<char*>(json_detail::allocate(count + 1));
  if (!result) return nullptr;
  *decodeString(begin, end, result) = 0;
  return *end ? end + 1 : end;
}

const char* readKey(Reading& reading, JsonNode& node, const char* text) noexcept {
  text = readString(reading, node.key, text);
  if (!text) return nullptr;
  text = skipSpace(text);
  return *text == ':' ? skipSpace(text + 1) : failAt(reading, text);
}

const char* readValue(Reading& reading, JsonNode& node, const char* text, int depth) noexcept;

// An array or object. Each entry is linked before it is read, so that a failure loses none.
const char* readEntries(Reading& reading, JsonNode& node, const char* text, int depth) noexcept {
  if (depth >= kMostDocumentDepth) return failAt(reading, text, true);
  const bool isObject = *text == '{';
  const char close = isObject ? '}' : ']';
  node.type = isObject ? kJsonObject : kJsonArray;
  text = skipSpace(text + 1);
  if (*text == close) return text + 1;
  for (JsonNode* last = nullptr;; text = skipSpace(text + 1)) {
    if (--reading.nodesLeft == 0) return failAt(reading, text, true);
    JsonNode* const entry = json_detail::createNode(kJsonNull);
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

const char* readWord(Reading& reading, JsonNode& node, const char* text) noexcept {
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
const char* readValue(Reading& reading, JsonNode& node, const char* text, int depth) noexcept {
  switch (*text) {
    case '"':
      node.type = kJsonString;
      return readString(reading, node.valueString, text);
    case '[':
    case '{':
      return readEntries(reading, node, text, depth);
    default:
      return *text == '-' || isDigit(*text) ? readNumber(node, text)
                                            : readWord(reading, node, text);
  }
}

}  // namespace

JsonNode* jsonParse(const char* text, JsonFault& fault) noexcept {
  fault = {};
  if (!text) return nullptr;
  if (::strnlen(text, kMostDocumentBytes + 1) > kMostDocumentBytes) {
    fault = {text + kMostDocumentBytes, true};
    return nullptr;
  }
  Reading reading;
  JsonTree root(json_detail::createNode(kJsonNull));
  const bool isRead = root && readValue(reading, *root, skipSpace(text), 0);
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

const char* jsonGetErrorPtr() noexcept { return lastErrorPosition.load(std::memory_order_relaxed); }
