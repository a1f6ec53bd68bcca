#include "tests/factory/claims.h"

namespace {

using enum Sound;

// Regions: everything, one side of the signal, or the frames that were loudest or quietest.
Region all(double fromHz = 20.0, double toHz = 20000.0) { return {fromHz, toHz}; }
Region mid(double fromHz = 20.0, double toHz = 20000.0) {
  Region region{fromHz, toHz};
  region.part = Part::kMid;
  return region;
}
Region side(double fromHz = 20.0, double toHz = 20000.0) {
  Region region{fromHz, toHz};
  region.part = Part::kSide;
  return region;
}
Region loudest(double fromHz = 20.0, double toHz = 20000.0) {
  Region region{fromHz, toHz};
  region.frames = Frames::kLoudest;
  return region;
}
Region quietest(double fromHz = 20.0, double toHz = 20000.0) {
  Region region{fromHz, toHz};
  region.frames = Frames::kQuietest;
  return region;
}

// Times of the talk.
Region room(double fromHz = 20.0, double toHz = 20000.0) { return {fromHz, toHz, 0.3, 1.4}; }
Region loudTalk(double fromHz = 20.0, double toHz = 20000.0) { return {fromHz, toHz, 1.6, 4.0}; }
Region softTalk(double fromHz = 20.0, double toHz = 20000.0) { return {fromHz, toHz, 4.6, 7.0}; }
Region pause(double fromHz = 20.0, double toHz = 20000.0) { return {fromHz, toHz, 7.1, 7.45}; }
Region sharpTalk(double fromHz, double toHz) { return {fromHz, toHz, 7.6, 8.7}; }
Region thumps(double fromHz, double toHz) { return {fromHz, toHz, 8.75, 10.0}; }

// Times of the key.
Region keyOn(double fromHz = 20.0, double toHz = 20000.0) { return {fromHz, toHz, 5.3, 7.3}; }
Region keyOff(double fromHz = 20.0, double toHz = 20000.0) { return {fromHz, toHz, 9.0, 9.9}; }

Claim level(const Region& region, double low, double high) {
  return {Measure::kLevel, low, high, region};
}
/// Left as it is, up to what the skirts of filters reach.
Claim untouched(const Region& region) { return level(region, -0.5, 0.5); }
Claim crest(double low, double high) { return {Measure::kCrest, low, high, {}}; }
Claim loudness(double low, double high) { return {Measure::kLoudness, low, high, {}}; }
Claim loudnessAfter(double low, double high) { return {Measure::kLoudnessAfter, low, high, {}}; }
Claim truePeakAfter(double low, double high) { return {Measure::kTruePeakAfter, low, high, {}}; }
Claim reduction(int band, double low, double high) {
  return {Measure::kReduction, low, high, {}, band};
}
Claim boost(int band, double low, double high) { return {Measure::kBoost, low, high, {}, band}; }

std::vector<PresetClaims> mastering() {
  return {
      {"01 Mastering/01 Bus Glue",
       kDemo,
       {reduction(1, -4.5, -2.5), level(loudest(), -2.0, -0.6), level(quietest(), 0.7, 1.2)}},
      {"01 Mastering/01 Bus Glue", kLowTones, {loudness(0.7, 0.9), truePeakAfter(-5.3, -5.1)}},
      {"01 Mastering/02 Three Band Balance",
       kDemo,
       {level(loudest(20, 150), -2.6, -1.2), level(quietest(300, 1500), 2.5, 3.7),
        level(loudest(4000, 16000), -2.6, -1.2), reduction(3, -5.1, -4.0)}},
      {"01 Mastering/03 Mid and Side Glue",
       kDemo,
       {level(mid(), -1.4, 0.0), level(side(), 2.2, 3.1), crest(-2.0, -0.7)}},
      {"01 Mastering/04 Detail Lift",
       kDemo,
       {untouched(loudest()), level(quietest(), 4.0, 5.1), boost(1, 4.5, 5.1)}},
      {"01 Mastering/05 Harshness Guard",
       kDemo,
       {level(loudest(2500, 4000), -5.2, -3.4), level(loudest(10000, 20000), -5.5, -3.0),
        untouched(all(20, 400)), untouched(quietest(2500, 4000))}},
      {"01 Mastering/06 Low End Tightener",
       kDemo,
       {level(loudest(30, 80), -5.0, -2.5), level(side(30, 130), -12.1, -11.0),
        level(all(400, 20000), 0.5, 0.7)}},
      {"01 Mastering/07 Full Master Chain",
       kDemo,
       {crest(-3.0, -1.1), truePeakAfter(-1.7, -1.2), level(loudest(2500, 4000), -2.8, -0.5)}},
      {"01 Mastering/08 Eight Band Smoother",
       kDemo,
       {level(loudest(), -2.8, -1.3), level(quietest(), 1.8, 2.3), reduction(1, -4.1, -3.0),
        reduction(8, -4.1, -3.0)}},
  };
}

std::vector<PresetClaims> drums() {
  return {
      {"02 Drums/01 Punch",
       kDrums,
       {boost(1, 6.0, 11.0), truePeakAfter(-1.6, -0.8), level(quietest(), -2.6, -2.0)}},
      {"02 Drums/02 Kick Weight, Snare Crack",
       kDrums,
       {boost(1, 5.0, 12.0), boost(3, 6.0, 13.0), truePeakAfter(-1.6, -0.8),
        untouched(all(500, 1000)), level(quietest(30, 100), -1.8, -1.3)}},
      {"02 Drums/03 Parallel Smash",
       kDemo,
       {untouched(loudest()), level(quietest(), 3.5, 4.2), crest(-2.0, -0.8)}},
      {"02 Drums/04 Shorter Rings",
       kDemo,
       {untouched(loudest()), level(quietest(), -7.5, -4.5), reduction(1, -12.1, -11.0)}},
      {"02 Drums/05 Cymbal Softener",
       kDemo,
       {level(loudest(8000, 16000), -9.0, -6.0), untouched(all(20, 1500)),
        untouched(quietest(8000, 16000))}},
  };
}

std::vector<PresetClaims> vocals() {
  return {
      {"03 Vocals/01 De-esser",
       kTalk,
       {level(sharpTalk(6000, 9000), -10.0, -6.5), level(loudTalk(6000, 9000), -3.0, 0.1),
        untouched(sharpTalk(100, 1500))}},
      {"03 Vocals/02 Lead Vocal Leveller",
       kTalk,
       {level(loudTalk(), -2.5, -0.1), level(softTalk(), 4.0, 5.0), reduction(1, -9.1, -5.0)}},
      {"03 Vocals/03 Proximity Control",
       kTalk,
       {level(loudTalk(140, 230), -6.0, -3.0), level(softTalk(140, 230), -1.0, 1.0),
        level(loudTalk(2000, 8000), 0.5, 1.1), reduction(1, -6.1, -5.0), loudness(-3.0, -1.0)}},
      {"03 Vocals/04 Presence Keeper",
       kTalk,
       {level(softTalk(2500, 5000), 2.0, 4.0), untouched(loudTalk(2500, 5000)),
        level(room(100, 1000), -10.1, -8.0), level(pause(100, 1000), -10.1, -5.0)}},
      {"03 Vocals/05 Full Vocal Chain",
       kTalk,
       {level(sharpTalk(6000, 9000), -7.5, -4.0), level(softTalk(), 5.0, 7.5),
        level(loudTalk(), -3.0, -0.3), reduction(1, -5.1, -4.0), level(room(), -5.0, 3.0)}},
  };
}

std::vector<PresetClaims> basses() {
  return {
      {"04 Bass/01 Even Notes",
       kBass,
       {level(loudest(), -5.0, -3.0), level(quietest(), 6.4, 7.6), crest(-2.3, -0.2)}},
      // The hiss beside the tone of 41 Hz tells of distortion.
      {"04 Bass/01 Even Notes",
       kLowTones,
       {level({180.0, 2000.0, 1.0, 4.5}, -6.5, -5.5), loudness(-6.5, -5.5)}},
      {"04 Bass/02 Solid Lows, Free Top",
       kBass,
       {level(loudest(40, 200), -5.6, -3.4), level(quietest(40, 200), 4.5, 6.2),
        untouched(all(1500, 8000))}},
      {"04 Bass/03 Make Room for the Kick",
       kKeyedDemo,
       {level(keyOn(30, 130), -9.2, -8.4), untouched(keyOff(30, 80)), loudness(-3.0, 0.0)}},
      {"04 Bass/04 Fingers Forward",
       kBass,
       {level(loudest(2000, 5000), 2.0, 4.5), level(all(40, 200), -1.3, -0.5),
        level(quietest(2000, 5000), -1.5, 0.0), truePeakAfter(-3.2, -2.2)}},
  };
}

std::vector<PresetClaims> guitars() {
  return {
      {"05 Guitars/01 Acoustic Boom Control",
       kGuitar,
       {level(loudest(100, 150), -4.5, -2.3), level(all(2000, 8000), 2.0, 2.5), crest(1.5, 4.0),
        truePeakAfter(-5.0, -3.5)}},
      {"05 Guitars/02 Pick Softener",
       kGuitar,
       {level(all(2500, 8000), -9.0, -5.0), untouched(all(80, 400)), crest(-2.5, -1.2)}},
      {"05 Guitars/03 Longer Sustain",
       kGuitar,
       {untouched(loudest()), level(quietest(), 5.0, 8.0), boost(1, 8.0, 9.1)}},
      {"05 Guitars/04 Strum Evener",
       kGuitar,
       {level(loudest(), -5.0, -3.2), level(quietest(), 5.4, 6.6), crest(-3.2, -1.6)}},
  };
}

std::vector<PresetClaims> post() {
  return {
      {"06 Dialogue and Post/01 Dialogue Leveller",
       kTalk,
       {level(loudTalk(), -2.0, -0.3), level(softTalk(), 2.0, 4.5), level(room(), -5.0, -3.0),
        level(pause(), -6.0, 0.0)}},
      {"06 Dialogue and Post/02 Noise Reducer",
       kTalk,
       {level(room(), -14.1, -10.0), level(room(5000, 16000), -14.1, -12.0),
        level(pause(5000, 16000), -14.1, -9.0), untouched(softTalk()), untouched(loudTalk())}},
      {"06 Dialogue and Post/03 Music Under Voice",
       kKeyedDemo,
       {level(keyOn(), -10.1, -9.5), untouched(keyOff()), loudness(-5.0, -1.0)}},
      {"06 Dialogue and Post/04 Music Around Voice",
       kKeyedDemo,
       {level(keyOn(1200, 2800), -8.2, -6.5), level(keyOn(30, 100), -0.8, 0.0),
        untouched(keyOff())}},
      {"06 Dialogue and Post/05 Plosive Catcher",
       kTalk,
       {level(thumps(40, 90), -9.0, -5.5), untouched(loudTalk(150, 8000)), untouched(softTalk()),
        loudness(-1.6, 0.0)}},
  };
}

std::vector<PresetClaims> broadcast() {
  return {
      {"07 Broadcast loudness/01 Loudness Rider",
       kDemo,
       {level(quietest(), 3.2, 5.0), level(loudest(), -1.8, -0.5), boost(1, 5.0, 6.1)}},
      {"07 Broadcast loudness/02 Five Band On Air",
       kDemo,
       {level(quietest(), 8.0, 10.5), level(loudest(), -4.2, -2.0), crest(-3.5, -1.8)}},
      {"07 Broadcast loudness/02 Five Band On Air",
       kTalk,
       {level(softTalk(), 3.0, 11.0), level(room(), -3.0, 3.0), loudness(-1.5, 1.0)}},
      {"07 Broadcast loudness/03 True Peak Stop",
       kDemo,
       {truePeakAfter(-5.0, -3.0), loudness(-1.3, 0.0), reduction(1, -6.0, -2.0)}},
      {"07 Broadcast loudness/03 True Peak Stop",
       kClipped,
       {truePeakAfter(-6.0, -3.0), loudness(-14.0, -6.0)}},
      {"07 Broadcast loudness/04 Podcast Finish",
       kTalk,
       {loudnessAfter(-17.0, -15.0), level(room(), -1.0, 1.0), level(loudTalk(), -0.5, 1.5),
        level(softTalk(), 5.0, 7.0), reduction(3, -8.1, -6.0), truePeakAfter(-2.2, -1.5)}},
      {"07 Broadcast loudness/05 Night Listening",
       kDemo,
       {level(loudest(), -3.5, -1.5), level(quietest(), 7.0, 9.5)}},
      {"07 Broadcast loudness/05 Night Listening",
       kTalk,
       {level(softTalk(), 3.0, 11.0), level(room(), -3.0, 3.0)}},
  };
}

std::vector<PresetClaims> creative() {
  return {
      {"08 Creative/01 Beat Pump",
       kDemo,
       {level(loudest(30, 100), -13.0, -8.0), untouched(quietest()), loudness(-6.0, -4.0)}},
      {"08 Creative/02 Wide Between Beats",
       kDemo,
       {untouched(mid()), level(side(), 1.0, 2.5), reduction(1, -10.1, -8.0)}},
      {"08 Creative/03 Soft Attacks",
       kDemo,
       {crest(-2.0, -0.7), reduction(1, -15.0, -9.0), level(quietest(), 0.6, 1.5)}},
      {"08 Creative/04 Lows Shut the Highs",
       kDemo,
       {level(loudest(1000, 4000), -9.0, -6.0), untouched(all(20, 150)),
        untouched(quietest(3000, 16000)), loudness(-2.0, -1.0)}},
      {"08 Creative/05 More of Everything",
       kDemo,
       {crest(0.5, 2.6), level(quietest(), -12.0, -8.0), untouched(loudest())}},
  };
}

std::vector<PresetClaims> utility() {
  return {
      {"09 Utility/01 Mono Lows",
       kDemo,
       {untouched(mid()), level(side(20, 110), -24.0, -16.0), untouched(side(400, 16000))}},
      {"09 Utility/02 Headroom Maker",
       kDemo,
       {truePeakAfter(-6.0, -5.0), crest(-5.0, -3.0), untouched(quietest()), loudness(-1.5, 0.0)}},
      {"09 Utility/03 Noise Gate",
       kTalk,
       {level(room(), -40.1, -37.0), level(pause(), -40.1, -30.0), untouched(softTalk()),
        untouched(loudTalk())}},
      {"09 Utility/04 Rumble and Hiss Guard",
       kTalk,
       {level(room(20, 70), -18.1, -11.0), level(room(12000, 20000), -12.1, -8.0),
        untouched(loudTalk()), untouched(room(300, 3000))}},
  };
}

std::vector<PresetClaims> learning() {
  return {
      {"10 Learning/01 Compression Above",
       kDemo,
       {level(loudest(), -8.5, -6.0), untouched(quietest()), loudness(-6.5, -4.5)}},
      {"10 Learning/02 Expansion Below",
       kDemo,
       {untouched(loudest()), level(quietest(), -12.0, -7.5), reduction(1, -24.1, -20.0)}},
      {"10 Learning/03 Upward Compression Below",
       kDemo,
       {untouched(loudest()), level(quietest(), 4.8, 7.0), boost(1, 7.0, 8.1)}},
      {"10 Learning/04 Upward Expansion Above",
       kDemo,
       {untouched(loudest()), level(quietest(), -6.2, -5.5), boost(1, 5.5, 6.1)}},
      {"10 Learning/05 Transients Alone",
       kDemo,
       {crest(-1.5, -0.4), reduction(1, -8.0, -5.0), level(loudest(), -1.2, -0.3)}},
      {"10 Learning/06 Side Alone", kDemo, {untouched(mid()), level(side(), -7.5, -5.0)}},
      {"10 Learning/07 The Ear of a Band",
       kDemo,
       {level(loudest(2500, 4000), -8.2, -7.2), untouched(quietest()), loudness(-8.0, -6.0)}},
  };
}

std::vector<PresetClaims> bank() {
  return {
      {"Factory Bank/B",
       kDemo,
       {level(loudest(), -5.0, -2.0), untouched(quietest()), loudness(-4.0, -2.0)}},
      {"Factory Bank/C",
       kDemo,
       {level(loudest(), -6.0, -3.5), reduction(1, -6.1, -4.0), reduction(2, -6.1, -4.0),
        reduction(3, -6.1, -4.0), loudness(-5.0, -3.5)}},
      {"Factory Bank/D",
       kDemo,
       {level(loudest(80, 120), -6.0, -4.0), level(loudest(2500, 3500), -6.0, -3.0),
        level(loudest(7000, 9000), -9.0, -6.0), loudness(-5.0, -3.0)}},
      {"Factory Bank/E",
       kDemo,
       {level(mid(), -5.0, -2.0), level(side(), -5.5, -2.0), loudness(-5.5, -4.0)}},
      {"Factory Bank/F", kDrums, {boost(1, 6.0, 11.0), truePeakAfter(-1.6, -0.8)}},
      {"Factory Bank/G",
       kDemo,
       {level(loudest(), -3.0, -0.5), level(quietest(), 3.0, 6.5), loudness(-1.5, 0.0)}},
      {"Factory Bank/H", kDemo, {truePeakAfter(-2.1, -1.5), reduction(1, -2.0, -0.6)}},
  };
}

}  // namespace

const std::vector<PresetClaims>& presetClaims() {
  static const std::vector<PresetClaims> kClaims = [] {
    std::vector<PresetClaims> together;
    for (const auto& part : {mastering(), drums(), vocals(), basses(), guitars(), post(),
                             broadcast(), creative(), utility(), learning(), bank()}) {
      together.insert(together.end(), part.begin(), part.end());
    }
    return together;
  }();
  return kClaims;
}
