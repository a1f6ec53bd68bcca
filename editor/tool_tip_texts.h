#pragma once

#include <cstdint>
#include <string_view>

/// What the line of help says of a control; empty for a tag without help. Any thread.
[[nodiscard]] std::string_view toolTipText(std::int32_t tag);
