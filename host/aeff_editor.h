#pragma once

#include <cstdint>

#include "host/aeffect.h"

/// A rectangle in pixels as the adapter reads it.
struct ERect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};

enum FrameEvent : std::int32_t {
  kFrameMouseDown = 0,    ///< on the control of the parameter `index`; negative for no parameter's
  kFrameSizeChanged = 1,  ///< the editor's rectangle is another one
};

/// What the adapter supplies to hear from the window of the editor. Threads: message thread.
class iVSTFrameCallbackInterface {
 public:
  iVSTFrameCallbackInterface() = default;
  virtual ~iVSTFrameCallbackInterface() = default;
  iVSTFrameCallbackInterface(const iVSTFrameCallbackInterface&) = delete;
  iVSTFrameCallbackInterface& operator=(const iVSTFrameCallbackInterface&) = delete;

  /// `type`: a `FrameEvent`. True from one that deals with the event itself.
  virtual bool onFrameEvent(std::int32_t type, std::int32_t index) = 0;
};

/// The editor as its effect and the adapter see it. The effect owns it from construction on, window
/// or no window. Threads: all on the message thread, but for `setParameter`, and for `effectReady`
/// and `effectClosed`, which come on the thread that makes and deletes the effect.
class AEffEditor {
 public:
  AEffEditor() = default;
  virtual ~AEffEditor() = default;
  AEffEditor(const AEffEditor&) = delete;
  AEffEditor& operator=(const AEffEditor&) = delete;

  /// The effect stands whole: what it has may be used from here on. `setParameter` may come before.
  virtual void effectReady() {}
  /// The effect is about to go, all of it still there: a window that is open closes. Nothing but
  /// the destructor follows.
  virtual void effectClosed() {}

  /// Points `*rect` to the size of the window, owned by the editor; false when there is none to
  /// give.
  virtual bool getRect(ERect** /*rect*/) { return false; }
  /// Opens inside the window handle of the host; false when that fails.
  virtual bool open(void* /*parentWindow*/) { return false; }
  virtual void close() {}
  [[nodiscard]] virtual bool isOpen() const { return false; }
  /// Called every 10 ms.
  virtual void idle() {}
  /// A parameter has changed. Comes on whatever thread changed it, the window open or not; must not
  /// block.
  virtual void setParameter(std::int32_t /*index*/, float /*normalised*/) {}

  // Keys of the host's window; true for one that was of use. `kVstKeyTab` is not taken.
  virtual bool onKeyDown(const VstKeyCode& /*key*/) { return false; }
  virtual bool onKeyUp(const VstKeyCode& /*key*/) { return false; }
  /// The host marks the control of a parameter, in one of its own `colour` numbers, or no longer.
  virtual void setControlHighlight(std::int32_t /*index*/, bool /*on*/, std::int32_t /*colour*/) {}
  /// Who hears of the window from now on; null for nobody. Not owned: set before `open`, taken back
  /// before it goes.
  virtual void setFrameCallback(iVSTFrameCallbackInterface* /*callback*/) {}
};
