#pragma once

#include <cstdint>

#include "host/aeffect.h"

/// Where the messages of an effect arrive whose record's `user` is its `AAXWrap_Parameters`; while
/// it is null the effect has nobody to talk to. Lets no exception out. Any thread: 7, 8 and 23 on
/// the audio thread.
std::intptr_t aaxHostCallback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                              std::intptr_t value, void* ptr, float opt) noexcept;
