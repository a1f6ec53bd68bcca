#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "core/band_rules.h"
#include "core/parameter_hand_over.h"
#include "editing/auto_gain.h"
#include "editing/band_files.h"
#include "editing/chain_edits.h"
#include "editing/chain_repair.h"
#include "editing/crossover_edits.h"
#include "editing/edited_parameters.h"
#include "editing/linked_edits.h"
#include "host/edit_gestures.h"
#include "host/edit_history.h"
#include "host/editor_state.h"
#include "host/host_link.h"
#include "host/parameter_input.h"
#include "host/parameter_store.h"
#include "state/install_folders.h"

/// The parts of an effect that edits use.
struct EditedParts {
  ParameterStore& values;
  ParameterInput& input;
  HostLink& host;
  EditHistory& history;
  EditGestures& gestures;
  BandRules& rules;
  ParameterHandOver& handOver;
  compressor& engine;
  EditorState& editor;
  std::atomic<bool>& stateChanged;
};

/// The effect's parameters as edits see them, with the side effects of every edit: crossover bands
/// give way, linked parameters follow, Auto Gain measures. Threads: control threads.
class PlugEdits final : public EditedParameters {
 public:
  PlugEdits(const EditedParts& editedParts, const InstallFolders& folders);

  [[nodiscard]] float get(int id) const override { return parts.values.normalised(id); }
  [[nodiscard]] float getPlain(int id) const override { return parts.values.plain(id); }
  [[nodiscard]] float toPlain(int id, float normalised) const override {
    return parts.values.toPlain(id, normalised);
  }
  [[nodiscard]] float toNormalised(int id, float plain) const override {
    return parts.values.toNormalised(id, plain);
  }
  /// Value in the band template, 0..1: what double clicks reset to and new bands start with.
  [[nodiscard]] float getDefault(int id) const override;
  void setDefault(int id, float normalised) override;

  void set(int id, float normalised) override {
    if (!isLocked(id)) crossover.automate(id, normalised);
  }
  void setAmongNeighbours(int id, float normalised) override {
    parts.input.automate(id, normalised);
  }
  void setAlone(int id, float normalised) override { parts.input.put(id, normalised); }
  void align(int id) override { parts.input.align(id); }

  /// Records everything that the gesture may change, so that its history group is complete at once
  /// and does not depend on an end that may be lost.
  void begin(int id) override;
  void end(int id) override;
  [[nodiscard]] bool isOpen(int id) const override { return parts.gestures.isOpen(id); }
  void beginAlone(int id) override;
  void endAlone(int id) override;
  void endLost(int id) override;
  /// Ends all open edits and the open history group, and tells the host; for the closing of the
  /// window in which they began, after `GroupEdit::endAll`. Ends that still come later are ignored.
  void endAll();
  void tellGesture(int id, bool begins) override { parts.host.tellGesture(id, begins); }
  void tellInGesture(int id) override { parts.host.tellInGesture(id); }

  void beginHistoryGroup() override { parts.history.beginGroup(); }
  void endHistoryGroup() override { parts.history.endGroup(); }
  void endGroupWithEdit(int id) override { parts.history.endGroupWithEdit(id); }
  void note(int id) override { parts.history.begin(id); }
  void endNote(int id) override { parts.history.end(id); }

  [[nodiscard]] bool isLocked(int id) const override { return parts.rules.locked.get(id); }
  [[nodiscard]] bool isLinked(int id) const override { return parts.rules.linked.get(id); }
  void setLocked(int id, bool on) override;
  void setLinked(int id, bool on) override;
  // 32 flags per word, parameter 0 in the lowest bit of the first. Flags beyond the given words
  // stay as they are.
  void setLockWords(std::span<const std::int32_t> words);
  void setLinkWords(std::span<const std::int32_t> words);

  [[nodiscard]] EngineLink& updates() override { return parts.handOver; }
  [[nodiscard]] std::atomic<bool>& loading() override { return parts.input.loading(); }
  [[nodiscard]] bool neighboursGiveWay() const override;
  [[nodiscard]] BandLayout& layout() override { return parts.engine.layout; }
  float moveBand(int band, int list, double frequency) override {
    return parts.handOver.moveBand(band, list, frequency);
  }

  [[nodiscard]] int currentBank() const override { return parts.values.currentBank(); }
  void copyToBank(int bank) override { parts.input.copyToBank(bank); }
  void markChanged() override { parts.stateChanged.store(true, std::memory_order_release); }
  [[nodiscard]] const ParameterKeys& keys() const override { return parts.values.keys(); }

 private:
  void flagsChanged() noexcept;

  const EditedParts parts;
  ProgramRecord bandTemplate;
  LinkedEdits links{*this};
  CrossoverEdits crossover{*this, links};

 public:
  AutoGain autoGain{*this, parts.engine};
  ChainEdits bands{*this, crossover, links};
  BandFiles bandFiles;
  ChainKeeper chain{*this};
};
