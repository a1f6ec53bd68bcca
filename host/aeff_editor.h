#pragma once

#include <cstdint>

/// A rectangle in pixels as the adapter reads it.
struct ERect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};

/// The editor as its effect sees it. The effect owns it from construction on, window or no window.
/// Threads: all on the message thread, but for `setParameter`.
class AEffEditor {
 public:
  AEffEditor() = default;
  virtual ~AEffEditor() = default;
  AEffEditor(const AEffEditor&) = delete;
  AEffEditor& operator=(const AEffEditor&) = delete;

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
};
