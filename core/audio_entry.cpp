// The effect's calls on the audio thread: audio and MIDI.

#include <algorithm>
#include <exception>

#include "core/plug.h"

void Plug::processReplacing(float** inputs, float** outputs, std::int32_t frames) {
  process(inputs, outputs, frames);
}

void Plug::processDoubleReplacing(double** inputs, double** outputs, std::int32_t frames) {
  process(inputs, outputs, frames);
}

template <typename Sample>
void Plug::process(Sample** inputs, Sample** outputs, std::int32_t frames) noexcept {
  if (inputs == nullptr || outputs == nullptr || frames <= 0) return;
  try {
    checkProcessLevel();
    const bool inTime = isRealtime.load(std::memory_order_relaxed);
    engine.setRealtime(inTime);
    engine.setGliding(inTime || handOver.isAlwaysLive());
    engine.setFixedDelays(inTime && handOver.isSeamless());
    const int absent = outputs[kMainChannels - 1] == nullptr ? 1 : 0;
    engine.processBlock(inputs, outputs, frames, kMainChannels - absent,
                        kSidechainChannels - absent);
  } catch (const std::exception&) {
    // Memory may run out in the block in which the host goes offline or comes back.
    for (int c = 0; c < kMainChannels; ++c) {
      if (outputs[c] != nullptr) std::fill_n(outputs[c], frames, Sample{0});
    }
  }
  advanceSampleCount(frames);
  handOver.addSamples(frames);
}

void Plug::processMidi(const VstMidiEvent& event) noexcept {
  if (const auto move = ownMachine.midiMap().process(event.midiData)) {
    input.setFromAudio(move->id, move->normalised);
  }
}
