#pragma once

#include "libraries/aax_wrap/aaxwrap_context.h"

/// The render callback: `begin` to before `end` are pointers to `SAAXWrap_Alg_Context`, all with
/// `mainChannels` inputs and outputs, 1 or 2, and perhaps one sidechain channel, which serves both.
/// Instances whose private pointer is null are left out. In place is fine; 0 frames are, too. Audio
/// thread: no locks, no heap, but for what leaves real time in the effect.
template <int mainChannels>
void aaxRender(void* const* begin, const void* end) noexcept;

extern template void aaxRender<1>(void* const* begin, const void* end) noexcept;
extern template void aaxRender<2>(void* const* begin, const void* end) noexcept;
