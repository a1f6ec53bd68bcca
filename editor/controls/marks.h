#pragma once

#include "toolkit/geometry.h"
#include "toolkit/view.h"

// What controls can show besides their value.

/// Marks of links and of MIDI: each on or off, in a colour. Threads, for all of these: as `CView`.
class CHighlightControl {
 public:
  virtual ~CHighlightControl() = default;

  virtual void setLinkHighlight(bool on, CColor colour) = 0;
  virtual void setMidiHighlight(bool on, CColor colour) = 0;
};

/// A greyed state, in which the control takes nothing from the user.
class nCanDisable {
 public:
  virtual ~nCanDisable() = default;

  virtual void setDisabled(bool on) = 0;
};

/// Waits, blinking, for the controller that is to move it.
class nCanMIDILearn {
 public:
  virtual ~nCanMIDILearn() = default;

  virtual void setLearning(bool on) = 0;
};

/// Shows whether its parameter is linked or locked; locked wins.
class nCanLink {
 public:
  virtual ~nCanLink() = default;

  virtual void setLinkState(bool linked, bool locked) = 0;
};

/// What a control shows of itself besides its value.
struct MarkState {
  bool isDisabled = false;
  bool isLinked = false;
  bool isLocked = false;
  bool isLearning = false;
  bool hasLinkColour = false;
  bool isMapped = false;
  CColor linkColour;
  CColor midiColour;

  bool operator==(const MarkState&) const = default;

  /// Of the name and of the number, `hover` from 0 to 1.
  [[nodiscard]] CColor labelColour(float hover) const;
  [[nodiscard]] CColor valueColour(CColor rest, float hover) const;
  /// Of a rail and its handle.
  [[nodiscard]] CColor railColour() const;
};

/// A control with all of the marks.
class ControlMarks : public CHighlightControl,
                     public nCanDisable,
                     public nCanMIDILearn,
                     public nCanLink {
 public:
  void setLinkHighlight(bool on, CColor colour) override;
  void setMidiHighlight(bool on, CColor colour) override;
  void setDisabled(bool on) override;
  void setLearning(bool on) override;
  void setLinkState(bool linked, bool locked) override;
  [[nodiscard]] const MarkState& marks() const noexcept { return state; }

 protected:
  /// They must be drawn again.
  virtual void marksChanged() = 0;

 private:
  void become(const MarkState& other);

  MarkState state;
};
