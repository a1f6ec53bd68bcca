#pragma once

#include <cstdint>

#include "host/aeffect.h"

/// A rectangle in pixels, in the layout that the adapter reads.
struct ERect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};

enum FrameEvent : std::int32_t {
  kFrameMouseDown = 0,    ///< on the control of parameter `index`; negative: on no parameter
  kFrameSizeChanged = 1,  ///< the editor's rectangle has changed
};

/// Implemented by the adapter to receive events of the editor's window. Threads: message thread.
class iVSTFrameCallbackInterface {
 public:
  iVSTFrameCallbackInterface() = default;
  virtual ~iVSTFrameCallbackInterface() = default;
  iVSTFrameCallbackInterface(const iVSTFrameCallbackInterface&) = delete;
  iVSTFrameCallbackInterface& operator=(const iVSTFrameCallbackInterface&) = delete;

  /// `type`: a `FrameEvent`. Returns true when the event has been dealt with.
  virtual bool onFrameEvent(std::int32_t type, std::int32_t index) = 0;
};

/// The editor as its effect and the adapter see it. The effect owns it from construction on,
/// whether or not a window is open. Threads: message thread, except `setParameter` (any thread) and
/// `effectReady` and `effectClosed` (the thread that makes and deletes the effect).
class AEffEditor {
 public:
  AEffEditor() = default;
  virtual ~AEffEditor() = default;
  AEffEditor(const AEffEditor&) = delete;
  AEffEditor& operator=(const AEffEditor&) = delete;

  /// The effect is complete: all of it may be used from now on. `setParameter` may come earlier.
  virtual void effectReady() {}
  /// The effect is about to be destroyed but is still complete: an open window must be closed now.
  /// Only the destructor follows.
  virtual void effectClosed() {}

  /// Points `*rect` to the rectangle of the window, owned by the editor; false if there is none.
  virtual bool getRect(ERect** /*rect*/) { return false; }
  /// Opens inside the host's window, given by its handle; false on failure.
  virtual bool open(void* /*parentWindow*/) { return false; }
  virtual void close() {}
  [[nodiscard]] virtual bool isOpen() const { return false; }
  /// Called every 10 ms.
  virtual void idle() {}
  /// A parameter has changed. Called on whichever thread changed it, window open or not; must not
  /// block.
  virtual void setParameter(std::int32_t /*index*/, float /*normalised*/) {}

  // Keys pressed in the host's window; true if the editor used the key. It never uses `kVstKeyTab`.
  virtual bool onKeyDown(const VstKeyCode& /*key*/) { return false; }
  virtual bool onKeyUp(const VstKeyCode& /*key*/) { return false; }
  /// The host highlights the control of a parameter, or stops doing so; `colour` is a number of the
  /// host's own.
  virtual void setControlHighlight(std::int32_t /*index*/, bool /*on*/, std::int32_t /*colour*/) {}
  /// Receiver of the window's events from now on; null for none. Not owned: set it before `open`
  /// and reset it to null before it is destroyed.
  virtual void setFrameCallback(iVSTFrameCallbackInterface* /*callback*/) {}
};
