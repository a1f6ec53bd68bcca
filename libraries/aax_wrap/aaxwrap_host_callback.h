#pragma once

#include <cstdint>

#include "host/aeffect.h"

/// Receives the messages of an effect. The `user` of its record is its `AAXWrap_Parameters`; while
/// that is null, messages are ignored. Lets no exception out. Any thread; messages 7, 8 and 23 come
/// on the audio thread.
std::intptr_t aaxHostCallback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                              std::intptr_t value, void* ptr, float opt) noexcept;
