#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/native_window.h"
#include "toolkit/view_container.h"

/// What a frame asks of the editor it shows. Threads: the message thread, under the frame's lock.
class VSTGUIEditorInterface {
 public:
  virtual ~VSTGUIEditorInterface() = default;

  virtual void doIdleStuff() {}
  virtual void beginEdit(std::int32_t tag) = 0;
  virtual void endEdit(std::int32_t tag) = 0;
  [[nodiscard]] virtual std::int32_t getKnobMode() const { return 0; }
  virtual void setParameter(std::int32_t tag, float normalised) = 0;
  [[nodiscard]] virtual CFrame* getFrame() const = 0;
  /// The running text entry ends; the window has closed, by the user's or the host's hand.
  virtual void frameCallback(std::int32_t code, void* data) = 0;
  /// Whether files may be dropped at a point of the frame where no view takes them, and those that
  /// have been dropped there: absolute paths, at least one.
  [[nodiscard]] virtual bool acceptsFiles(CPoint /*where*/) const { return false; }
  virtual void filesDropped(CPoint /*where*/, const std::vector<std::string>& /*paths*/) {}
  /// A key that no view has used.
  virtual bool frameKeyDown(const KeyEvent& /*key*/) { return false; }
  /// Another view is under the mouse; null for none.
  virtual void mouseOver(CView* /*view*/) {}
};

enum FrameCallbackCode : std::int32_t {
  kFrameDestroyed = 1,
  kFrameCloseAsked = 2,
  kFrameLooseFocus = 3,
};

/// The root of the views and the window they stand in. Views see unzoomed pixels; the window's are
/// theirs times device scale and zoom.
///
/// Threads: the message thread. Who draws on another one holds the lock meanwhile; so does every
/// entry from outside, those of the window among them.
class CFrame : public CViewContainer, public ViewRoot, private WindowListener {
 public:
  /// Milliseconds for what blinks, fades and waits.
  using Clock = std::function<std::uint64_t()>;

  CFrame(const CRect& size, VSTGUIEditorInterface* editor, Clock clock);

  /// Opens inside a host's window, or in one of its own. False where there is no display.
  [[nodiscard]] bool open(std::uintptr_t parentWindow);
  [[nodiscard]] bool openTop(const std::string& title);
  /// For pictures: no window, the device scale as given, events through `window`.
  void openOffScreen(float deviceScale);
  /// Ends all views, then the window.
  virtual void close();
  [[nodiscard]] bool isOpen() const noexcept { return opened; }

  /// Held by whoever touches the tree, also by who draws it; the same thread may take it again.
  [[nodiscard]] std::recursive_mutex& treeLock() noexcept { return lock; }

  /// Unzoomed pixels.
  void setSize(float width, float height);
  [[nodiscard]] CRect getSize() const noexcept { return size; }
  /// `userScale`: zoom, above 0.
  virtual void setZoom(float userScale);
  virtual void setDeviceScale(float devicePixels);
  [[nodiscard]] float getDeviceScale() const noexcept { return dpiScale; }
  /// Device pixels per unzoomed pixel.
  [[nodiscard]] float getScale() const noexcept { return dpiScale * userScale; }

  void setFocusView(CView* view);
  [[nodiscard]] CView* getFocusView() const noexcept { return focusView.get(); }
  /// Views over all others: mouse and keys reach the uppermost alone.
  void pushModalView(CView* view);
  void popModalView(CView* view);
  /// As `pushModalView`; null ends the uppermost.
  void setModalView(CView* view);
  [[nodiscard]] CView* getModalView() const noexcept;
  /// All of them, the uppermost last.
  [[nodiscard]] std::vector<CView*> getModalViews() const;

  /// Once about every 10 ms: events of the window, views that want it, and in a plain frame the
  /// drawing.
  virtual void idle();
  void wantIdle(CView& view, bool on);
  [[nodiscard]] std::uint64_t now() const { return clock(); }

  [[nodiscard]] VSTGUIEditorInterface* getEditor() const noexcept { return editor; }
  [[nodiscard]] CPoint getCurrentMouseLocation() const noexcept { return mouse; }
  [[nodiscard]] CButtonState getCurrentMouseButtons() const noexcept { return mouseButtons; }
  void setCursor(Cursor cursor);
  /// A view whose cursor was hidden during a drag puts it back where it began.
  void warpMouse(CPoint where);
  [[nodiscard]] NativeWindow* window() const noexcept { return native.get(); }
  /// Device pixels, as the window told last: host or desktop may want another than ours. 0 without.
  [[nodiscard]] int getWindowHeight() const noexcept { return windowHeight; }
  /// The events of the window, for those who play them.
  [[nodiscard]] WindowListener& events() noexcept { return *this; }

  /// Puts a text to one of the clipboards; asks for one, given to `take` when it comes. While the
  /// answer for the other one is awaited nothing is asked. Off screen the frame has clipboards of
  /// its own.
  void putClipboard(Clipboard which, std::string text);
  void askClipboard(Clipboard which, CView& asker, std::function<void(std::string_view)> take);

  bool onKeyDown(const KeyEvent& key) override;
  bool onKeyUp(const KeyEvent& key) override;
  /// The editor's affair.
  [[nodiscard]] bool acceptsDrop(CPoint where) override;
  void onDrop(CPoint where, const std::vector<std::string>& paths) override;

  void markDirty() noexcept override { changed.store(true, std::memory_order_relaxed); }
  void invalidFrameRect(const CRect& part) override;
  /// Takes what has changed since the last call, in unzoomed pixels; empty for nothing.
  [[nodiscard]] CRect takeDamage();
  /// Draws a part of the tree, with the boxes and menus over it. Under the lock.
  void drawFrame(CDrawContext& context, const CRect& part);

  void viewGone(CView& view) override;

  CMessageResult notify(CBaseObject* sender, const char* message) override;

 protected:
  ~CFrame() override;

  /// The window is there: what draws to it may be made.
  virtual void windowOpened() {}
  /// Before the window goes.
  virtual void windowCloses() {}
  virtual void windowResized() {}
  /// The window must show its picture again.
  virtual void windowExposed(const DeviceRect& part);

 private:
  // WindowListener
  void mouseDown(DevicePoint where, CButton pressedButton, CButtonState buttons) override;
  void mouseUp(DevicePoint where, CButton releasedButton, CButtonState buttons) override;
  void mouseMoved(DevicePoint where, CButtonState buttons) override;
  void mouseLeft() override;
  void wheel(DevicePoint where, float steps, CButtonState buttons) override;
  bool keyDown(const KeyEvent& key) override;
  bool keyUp(const KeyEvent& key) override;
  void focusChanged(bool has) override;
  void resized(int width, int height) override;
  void scaleChanged(double devicePixels) override;
  void exposed(const DeviceRect& part) override;
  void closeAsked() override;
  void destroyed() override;
  bool dropMoved(DevicePoint where) override;
  void dropLeft() override;
  void filesDropped(DevicePoint where, const std::vector<std::string>& paths) override;
  void clipboardText(std::string_view text) override;

  [[nodiscard]] CPoint fromDevice(DevicePoint where) const noexcept;
  [[nodiscard]] bool openWith(std::unique_ptr<NativeWindow> made);
  /// A second button that goes down or up while the press of a first one lasts.
  [[nodiscard]] bool isFurther(CButton button, CButtonState buttons) const noexcept;
  void findHovered(CButtonState buttons);
  void resizeWindow();
  void endText();

  VSTGUIEditorInterface* editor;
  Clock clock;
  std::recursive_mutex lock;
  std::shared_ptr<WindowSystem> system;
  std::unique_ptr<NativeWindow> native;
  bool opened = false;
  int windowHeight = 0;
  float dpiScale = 1.0F;
  float userScale = 1.0F;
  float inverseScale = 1.0F;
  Held<CView> focusView;
  Held<CView> hovered;
  Held<CView> clipboardAsker;
  std::function<void(std::string_view)> takeClipboard;
  Clipboard askedClipboard = Clipboard::kClipboard;
  std::array<std::string, 2> ownClipboards;
  std::vector<Held<CView>> modalViews;
  std::vector<Held<CView>> idleViews;
  CPoint mouse;
  CButtonState mouseButtons;
  CButtonState pressedBy;  // the button whose press lasts
  Cursor cursor = Cursor::kArrow;
  std::atomic<bool> changed{true};
  CRect damage;
  std::vector<CRect> dirtyPlaces;  // kept from call to call, so that none allocates
};
