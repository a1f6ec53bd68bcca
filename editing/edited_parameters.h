#pragma once

#include <atomic>

#include "host/engine_link.h"

class BandLayout;
class ParameterKeys;

/// The parameters of an effect as edits see them: everything users do to an effect goes through
/// this interface.
///
/// Terms: an edit is a change by the user. A gesture is the begin and end of an edit of one
/// parameter, which the host is told of. A step is what one undo takes back: an edit or a group of
/// them. An action is what a menu entry runs.
///
/// `normalised` is 0..1, `plain` in the unit of the parameter's label. Reads of ids out of range
/// return 0, writes are ignored. Threads: control threads.
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

  /// Sets a parameter as a user's control does: a locked one stays, linked ones follow, neighbours
  /// in the crossover give way, and the host is told.
  virtual void set(int id, float normalised) = 0;
  /// As `set`, but no band gives way.
  virtual void setAmongNeighbours(int id, float normalised) = 0;
  /// Sets this parameter only, locked or not; the host is not told.
  virtual void setAlone(int id, float normalised) = 0;
  /// Gives the value of a parameter to all that are linked with it.
  virtual void align(int id) = 0;

  // Begin and end the user's gesture, for host and history.
  virtual void begin(int id) = 0;
  virtual void end(int id) = 0;
  [[nodiscard]] virtual bool isOpen(int id) const = 0;
  // The same for this parameter only: no others take part, and Auto Gain does not react.
  virtual void beginAlone(int id) = 0;
  virtual void endAlone(int id) = 0;
  /// Ends an edit whose own end has been lost.
  virtual void endLost(int id) = 0;
  /// Only sends the host the message, unless gestures are off.
  virtual void tellGesture(int id, bool begins) = 0;
  virtual void tellInGesture(int id) = 0;  ///< tells the host the present value, in a gesture

  // Edits between these two are one step; a group within a group is part of the outer one.
  virtual void beginHistoryGroup() = 0;
  virtual void endHistoryGroup() = 0;
  /// Ends the group by itself once the edit of this parameter, which is part of it, has begun.
  virtual void endGroupWithEdit(int id) = 0;
  // Record a change for undo without a gesture; it is dropped if the value stays the same.
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
  /// Raised while values are taken as they are: the bank selector switches no bank.
  [[nodiscard]] virtual std::atomic<bool>& loading() = 0;
  /// Whether crossover bands give way to one that moves: false during undo and redo, while a state
  /// is being loaded, and under a hold.
  [[nodiscard]] virtual bool neighboursGiveWay() const = 0;
  [[nodiscard]] virtual BandLayout& layout() = 0;
  /// Moves a band in the layout, under a hold and before its parameters change. Returns the
  /// resulting order as a plain value of `kBandOrder`.
  virtual float moveBand(int band, int list, double frequency) = 0;

  // Banks and documents.
  [[nodiscard]] virtual int currentBank() const = 0;
  virtual void copyToBank(int bank) = 0;
  virtual void markChanged() = 0;
  [[nodiscard]] virtual const ParameterKeys& keys() const = 0;
};

/// A group of edits, one step of the history, for as long as it lives.
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

/// Sets a parameter to a plain value, in a gesture of its own.
inline void editPlain(EditedParameters& parameters, int id, float plain) {
  parameters.begin(id);
  parameters.set(id, parameters.toNormalised(id, plain));
  parameters.end(id);
}
