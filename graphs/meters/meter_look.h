#pragma once

#include "toolkit/geometry.h"
#include "toolkit/look.h"

/// Colours that all meters have in common.
namespace meter_look {

inline constexpr CColor kBarGround = CColor::rgb(0x202020);
inline constexpr CColor kTick = CColor::rgb(0x272727);
inline constexpr CColor kMarkLine = CColor::rgb(0x3C3C3C);
inline constexpr CColor kYellow = CColor::rgb(0xEDD053);  // of what is over, where it is preferred

}  // namespace meter_look
