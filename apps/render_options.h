#pragma once

#include <optional>
#include <string>

#include "apps/audio_format.h"
#include "apps/automation.h"
#include "apps/effect_runner.h"

/// How files are to be rendered; the same for all files of a batch.
struct RenderOptions {
  EffectSetup effect;
  std::string sidechain;  ///< path; empty for none
  Automation automation;
  std::optional<SampleFormat> format;
  bool keepLatency = false;
  bool matchLoudness = false;
  bool measure = true;  ///< loudness and peaks, for the report
};
