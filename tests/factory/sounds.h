#pragma once

#include <string>
#include <vector>

inline constexpr int kSoundRate = 48000;  // Hz
inline constexpr int kSoundSeconds = 10;

using Signal = std::vector<double>;

/// Ten seconds that a preset is heard with; `key` goes to the sidechain inputs, if it holds
/// anything.
struct Sound {
  Signal main;  ///< two channels, interleaved
  Signal key;
};

/// By name:
/// - "demo": the demo piece; "keyed" with a key that sounds from 0 to 2.5 and from 5 to 7.5 s, at
///   -12 dBFS
/// - "talk": one voice in the middle, in a room that rumbles at -62 dB and hisses at -75 dB: from
///   1.5 s loud, from 4.5 s 14 dB softer, from 7.5 s with a sharp s every 0.4 s, from 8.7 s soft
///   with a thump of breath at 70 Hz every 0.4 s. The half seconds before 4.5, 7.5 s and the start
///   up to 1.5 s are room alone
/// - "drums": kick, snare and hats with peaks at -1 dB; "clipped" the same driven 14 dB into
///   clipping, from 5 s with a clipped tone over them
/// - "lowTones": tones at -6 dB, of 41.2 Hz and from 5 s of 130 Hz, over a hiss at -75 dB
/// - "guitar", "bass": plucked notes every half second, loud and 10 dB softer in turn, each begun
///   by the click of a pick, over a hiss at -75 dB, from 82 to 247 Hz or an octave lower
[[nodiscard]] Sound soundNamed(const std::string& name);
