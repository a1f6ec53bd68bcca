#pragma once

#include <cstdint>
#include <string>

// What a window tells of mouse and keys, and what it shows as the pointer.

/// What goes with a mouse event: the buttons that are down (or go up) and the keys held, as bits.
enum CButton : std::uint32_t {
  kLButton = 1,
  kRButton = 2,
  kMButton = 4,
  kDoubleClick = 8,
  kShift = 16,
  kControl = 32,
  kAlt = 64,
  kApple = 128,
};

class CButtonState {
 public:
  constexpr CButtonState(std::uint32_t set = 0) : bits(set) {}  // NOLINT: a set of enumerators

  [[nodiscard]] constexpr bool has(std::uint32_t all) const { return (bits & all) == all; }
  [[nodiscard]] constexpr bool isLeft() const { return has(kLButton); }
  [[nodiscard]] constexpr bool isRight() const { return has(kRButton); }
  [[nodiscard]] constexpr bool isDouble() const { return has(kDoubleClick); }
  [[nodiscard]] constexpr std::uint32_t buttons() const {
    return bits & (kLButton | kRButton | kMButton);
  }
  [[nodiscard]] constexpr std::uint32_t modifiers() const {
    return bits & (kShift | kControl | kAlt | kApple);
  }
  [[nodiscard]] constexpr std::uint32_t all() const { return bits; }
  constexpr bool operator==(const CButtonState&) const = default;

 private:
  std::uint32_t bits;
};

/// Keys that are no text, numbered as plug-in hosts do.
enum class Key : std::uint8_t {
  kNone = 0,
  kBack,
  kTab,
  kClear,
  kReturn,
  kPause,
  kEscape,
  kSpace,
  kNext,
  kEnd,
  kHome,
  kLeft,
  kUp,
  kRight,
  kDown,
  kPageUp,
  kPageDown,
  kSelect,
  kPrint,
  kEnter,
  kSnapshot,
  kInsert,
  kDelete,
  kHelp,
  kMenu = 128,  ///< that hosts have no number for
};

/// A key going down or up. `text` is what the input method makes of it, UTF-8, empty for none.
struct KeyEvent {
  Key key = Key::kNone;
  char32_t character = 0;  ///< lower case without modifiers, for commands; 0 for `key`
  std::string text;
  CButtonState modifiers;
};

enum class Cursor : std::uint8_t {
  kArrow,
  kHand,
  kText,
  kSizeHorizontal,
  kSizeDiagonal,
  kMove,
  kForbidden,
  kHidden,
};
