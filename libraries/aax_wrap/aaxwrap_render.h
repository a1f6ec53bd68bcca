#pragma once

#include "libraries/aax_wrap/aaxwrap_context.h"

/// The render callback. `begin` to before `end` are pointers to `SAAXWrap_Alg_Context`, all with 1
/// or 2 (`mainChannels`) inputs and outputs and optionally one sidechain channel, which serves
/// both. Instances whose private pointer is null are skipped. Buffers may be the same for input and
/// output; 0 frames are allowed. Audio thread; neither locks nor allocates, except where the effect
/// is not real-time safe.
template <int mainChannels>
void aaxRender(void* const* begin, const void* end) noexcept;

extern template void aaxRender<1>(void* const* begin, const void* end) noexcept;
extern template void aaxRender<2>(void* const* begin, const void* end) noexcept;
