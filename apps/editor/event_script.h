#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/window_events.h"

/// Where an event happens: a point of the surface, or one beside the middle of a control.
struct EventPlace {
  std::int32_t tag = kNoTag;  ///< of the control; `kNoTag` for a point
  double x = 0.0;             ///< unzoomed pixels
  double y = 0.0;

  static constexpr std::int32_t kNoTag = -1;
};

/// What the user, or the host, does next.
struct ScriptEvent {
  enum class Kind { kMove, kDown, kDrag, kUp, kWheel, kKey, kType, kWait, kShot, kViews, kSet };

  Kind kind = Kind::kWait;
  int line = 0;  ///< in its file, from 1
  EventPlace place;
  CButton button = kLButton;
  CButtonState modifiers;  ///< with `kDoubleClick`; those of a press last until its release
  double number = 0.0;     ///< steps of the wheel, milliseconds, plain value
  KeyEvent key;
  std::string text;            ///< typed, or a path
  std::int32_t parameter = 0;  ///< of `kSet`
};

/// Reads events, one a line; empty lines and those that begin with `#` are passed over. Throws
/// `Failure` as "name:line: reason".
[[nodiscard]] std::vector<ScriptEvent> parseEvents(std::string_view text, const std::string& name);
