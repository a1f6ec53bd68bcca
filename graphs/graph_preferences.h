#pragma once

#include <cstdint>

class UiSettings;

/// How the graphs look and move: the user's choices, as numbers to reckon with.
struct GraphPreferences {
  enum class Style : std::uint8_t { kFilled, kOutlined, kBoth };

  float range = 24.0F;  ///< dB to either side
  int readout = 0;      ///< bits of `graph_readouts::Shown`
  bool readoutAtBottom = false;
  float grDecay = 1.0F;  ///< 0..1: how much of its way to the curve as it is set a gain change goes
  bool highlightsCurrent = true;
  Style drawStyle = Style::kBoth;
  bool invertedQ = false;
  int background = 0;  ///< 0..2
  bool gradient = true;
  bool showsMeasured = true;

  int analyserDecay = 2;  ///< 0..3, of which a redraw leaves `decayFactor`
  double analyserRange = 96.0;
  double analyserTop = 0.0;
  double analyserTilt = 0.0;  ///< dB per octave
  int analyserSmoothing = 1;  ///< columns to either side
  bool analyserOutlined = false;

  [[nodiscard]] static GraphPreferences read(const UiSettings& settings);
  [[nodiscard]] double decayFactor() const;
  /// How bright the ground is at the top.
  [[nodiscard]] int glow() const;

  bool operator==(const GraphPreferences&) const = default;
};

/// The ranges to choose from, in dB.
inline constexpr float kGraphRanges[] = {3.0F, 6.0F, 12.0F, 18.0F, 24.0F, 36.0F};
