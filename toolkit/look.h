#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "toolkit/draw_context.h"
#include "toolkit/face.h"
#include "toolkit/geometry.h"

/// Colours, faces and measures that everything of the toolkit has in common.
namespace look {

inline constexpr CColor kGround = CColor::rgb(0x000000);
inline constexpr CColor kPanel = CColor::rgb(0x0D0D0D);
inline constexpr CColor kBluePanel = CColor::rgb(0x151A1E);
inline constexpr CColor kBorder = CColor::rgb(0x1F1F1F);
inline constexpr CColor kBlueBorder = CColor::rgb(0x2A3138);
inline constexpr CColor kText = CColor::rgb(0xE0E0E0);
inline constexpr CColor kQuietText = CColor::rgb(0xB0B0B0);
inline constexpr CColor kLabel = CColor::rgb(0x848484);
inline constexpr CColor kValue = CColor::rgb(0x5785A6);
inline constexpr CColor kHotValue = CColor::rgb(0x9CC3DE);
inline constexpr CColor kLit = CColor::rgb(0x4E9ACC);
inline constexpr CColor kOff = CColor::rgb(0x4A4A4A);
inline constexpr CColor kUnlit = CColor::rgb(0x808080);
inline constexpr CColor kDisabledRail = CColor::rgb(0x808080);
inline constexpr CColor kLinked = CColor::rgb(0x609648);
inline constexpr CColor kLinkedValue = CColor::rgb(0x7DB565);
inline constexpr CColor kLocked = CColor::rgb(0x858132);
inline constexpr CColor kLockedValue = CColor::rgb(0xA8A34A);
inline constexpr CColor kDetent = CColor::rgb(0x4A210C);
inline constexpr CColor kOver = CColor::rgb(0x8B3A0F);
inline constexpr CColor kLearn = CColor::rgb(0xFFFF00, 204);
inline constexpr CColor kMapped = CColor::rgb(0xFF00FF, 204);
inline constexpr CColor kSand = CColor::rgb(0xBEA788);
/// A column that is open, with its tab: three quarters of the way to the blue panel.
inline constexpr CColor kColumn = mix(kPanel, kBluePanel, 0.75F);
inline constexpr CColor kHotRow = CColor::rgb(0x4E9ACC, 66);     // a quarter
inline constexpr CColor kChosenRow = CColor::rgb(0x4E9ACC, 33);  // an eighth
inline constexpr CColor kSelection = CColor::rgb(0x5785A6, 140);
inline constexpr CColor kDarkened = CColor::rgb(0x000000, 0x99);

inline constexpr float kRowHeight = 22.0F;
inline constexpr float kButtonHeight = 24.0F;
inline constexpr float kTextSize = 12.0F;
inline constexpr float kSmallTextSize = 11.0F;
inline constexpr float kRowsPerWheelStep = 3.0F;
inline constexpr std::uint64_t kBlinkMs = 500;
/// Letters typed within this time belong together.
inline constexpr std::uint64_t kTypeAheadMs = 1000;

/// For the user's own words. Without a face, where the program has no such: nothing is written
/// then.
[[nodiscard]] TextStyle bold(float size, CColor colour, CHoriTxtAlign align = kLeftText);
[[nodiscard]] TextStyle regular(float size, CColor colour, CHoriTxtAlign align = kLeftText);

/// In unzoomed pixels.
[[nodiscard]] float widthOf(const TextStyle& style, std::string_view utf8);
/// As much of a text as there is room for, with three dots where some of it is left out: at its end
/// or, `atStart`, at its beginning.
[[nodiscard]] std::string cutTo(float width, const TextStyle& style, std::string_view utf8,
                                bool atStart = false);

}  // namespace look
