#pragma once

#include <atomic>

#include "host/engine_link.h"

class BandLayout;
class ParameterKeys;

/// The parameters of an effect as edits see them: what people do to an effect is done through this.
///
/// An edit is whatever a user changes; its gesture, the begin and end that the host hears of, is
/// that of one parameter; a step of the history is what undo takes back as one, an edit or a group
/// of them. An action is what an entry of a menu runs.
///
/// `normalised` is 0..1, `plain` in the unit of the parameter's label. Ids out of range read 0 and
/// are ignored. Threads: control threads.
class EditedParameters {
 public:
  EditedParameters() = default;
  virtual ~EditedParameters() = default;
  EditedParameters(const EditedParameters&) = delete;
  EditedParameters& operator=(const EditedParameters&) = delete;

  // Values.
  [[nodiscard]] virtual float get(int id) const = 0;  ///< normalised
  [[nodiscard]] virtual float getPlain(int id) const = 0;
  [[nodiscard]] virtual float toPlain(int id, float normalised) const = 0;
  [[nodiscard]] virtual float toNormalised(int id, float plain) const = 0;
  [[nodiscard]] virtual float getDefault(int id) const = 0;
  virtual void setDefault(int id, float normalised) = 0;
  [[nodiscard]] bool isOn(int id) const { return getPlain(id) != 0.0F; }

  /// As a user's control does: a locked parameter stays, linked ones follow, neighbours in the
  /// crossover give way, and the host is told.
  virtual void set(int id, float normalised) = 0;
  /// The same, but nobody gives way.
  virtual void setAmongNeighbours(int id, float normalised) = 0;
  /// This parameter alone, locked or not; the host is not told.
  virtual void setAlone(int id, float normalised) = 0;
  /// All that are linked with it take its value.
  virtual void align(int id) = 0;

  // Edits: a gesture of the user's, as host and history see it.
  virtual void begin(int id) = 0;
  virtual void end(int id) = 0;
  [[nodiscard]] virtual bool isOpen(int id) const = 0;
  // The same of this parameter alone: nobody follows, and Auto Gain does not take it for a sign.
  virtual void beginAlone(int id) = 0;
  virtual void endAlone(int id) = 0;
  /// Ends an edit whose own end has been lost.
  virtual void endLost(int id) = 0;
  /// The messages to the host alone, unless it is to have none.
  virtual void tellGesture(int id, bool begins) = 0;
  virtual void tellInGesture(int id) = 0;  ///< the present value

  // What lies between is one step of the history; groups within a group are part of it.
  virtual void beginHistoryGroup() = 0;
  virtual void endHistoryGroup() = 0;
  /// The group ends when the edit of this parameter has begun, which belongs to it.
  virtual void endGroupWithEdit(int id) = 0;
  // Notes a change for the history, without a gesture; what has not changed is forgotten at its
  // end.
  virtual void note(int id) = 0;
  virtual void endNote(int id) = 0;

  // Locks and links.
  [[nodiscard]] virtual bool isLocked(int id) const = 0;
  [[nodiscard]] virtual bool isLinked(int id) const = 0;
  virtual void setLocked(int id, bool on) = 0;
  virtual void setLinked(int id, bool on) = 0;

  // The engine.
  /// For `UpdateHold`, while several parameters change as one.
  [[nodiscard]] virtual EngineLink& updates() = 0;
  /// Raised while values are taken as they come: no bank is switched to.
  [[nodiscard]] virtual std::atomic<bool>& loading() = 0;
  /// Bands of the crossover give way to one that moves: not while a state is being loaded, a step
  /// of the history is taken, or several parameters change as one.
  [[nodiscard]] virtual bool neighboursGiveWay() const = 0;
  [[nodiscard]] virtual BandLayout& layout() = 0;
  /// Moves a band in the layout, ahead of its parameters and while these are held. Returns the
  /// order that results, as `kBandOrder` holds it.
  virtual float moveBand(int band, int list, double frequency) = 0;

  // Banks, and what documents hold besides.
  [[nodiscard]] virtual int currentBank() const = 0;
  virtual void copyToBank(int bank) = 0;
  virtual void markChanged() = 0;
  [[nodiscard]] virtual const ParameterKeys& keys() const = 0;
};

/// Edits that are one step of the history.
class HistoryGroup {
 public:
  explicit HistoryGroup(EditedParameters& edited) : parameters(edited) {
    parameters.beginHistoryGroup();
  }
  ~HistoryGroup() { parameters.endHistoryGroup(); }
  HistoryGroup(const HistoryGroup&) = delete;
  HistoryGroup& operator=(const HistoryGroup&) = delete;

 private:
  EditedParameters& parameters;
};

/// Sets a parameter to a plain value in an edit of its own.
inline void editPlain(EditedParameters& parameters, int id, float plain) {
  parameters.begin(id);
  parameters.set(id, parameters.toNormalised(id, plain));
  parameters.end(id);
}
