// Controls in a host's window under real mouse and keys, told in a table, drawn in both ways.

#include <clocale>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "graphs/opengl/ogl_frame.h"
#include "platform/clock.h"
#include "tests/support/becomes.h"
#include "tests/support/script.h"
#include "tests/support/shell.h"
#include "tests/support/test_directory.h"
#include "tests/support/x_server.h"
#include "toolkit/option_menu.h"
#include "toolkit/popup_menu.h"
#include "toolkit/text_edit.h"
// Last, since its macros have common names.
#include "tests/support/drag_source.h"
#include "tests/support/host_window.h"

namespace {

/// Counts how far it is dragged, by a pointer that is hidden and kept where the drag began. Files
/// may be dropped on it.
class Dragged final : public CControl {
 public:
  using CControl::CControl;
  std::vector<std::string> dropped;

  CMouseEventResult onMouseDown(CPoint where, CButtonState /*buttons*/) override {
    start = where;
    getFrame()->setCursor(Cursor::kHidden);
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override {
    if (!buttons.isLeft() || where == start) return kMouseEventNotHandled;
    setValue(value + where.x - start.x);
    getFrame()->warpMouse(start);
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) override {
    getFrame()->setCursor(Cursor::kArrow);
    valueChanged();
    return kMouseEventHandled;
  }
  bool onWheel(CPoint /*where*/, float steps, CButtonState buttons) override {
    return turnByWheel(steps, buttons);
  }
  bool acceptsDrop(CPoint where) override { return where.x < size.centre().x; }
  void onDrop(CPoint /*where*/, const std::vector<std::string>& paths) override {
    dropped = paths;
    valueChanged();
  }

 private:
  CPoint start;
};

class SessionTest : public Script,
                    public testing::WithParamInterface<bool>,
                    public VSTGUIEditorInterface,
                    public CControlListener {
 protected:
  // Each time that a driver in software is unloaded it loses memory: this keeps it.
  static void SetUpTestSuite() { static_cast<void>(GlContext::makeOffScreen(1, 1, 0)); }

  SessionTest() {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    // Keys that xdotool would else make and take away again, maybe before they are read.
    std::array<KeySym, 2> accents = {XK_eacute, XK_dead_acute};
    XChangeKeyboardMapping(host.display(), 247, 1, accents.data(), 2);
    XSync(host.display(), False);
    const CRect size{0, 0, 300, 200};
    frame = Held<CGFrame>::adopt(GetParam() ? new OGLFrame(size, this, &monotonicMilliseconds)
                                            : new CGFrame(size, this, &monotonicMilliseconds));
    {
      const std::lock_guard guard(frame->treeLock());
      addControls();
    }
    EXPECT_TRUE(frame->open(reinterpret_cast<std::uintptr_t>(host.handle())));
    commands = {
        {"sh", [this] { runShell(); }},
        {"row", [this] { pointAtRow(); }},
        {"drop", [this] { source.drag(host.children().at(0), number(1), number(2), row[3]); }},
        {"scale",
         [this] { locked([this] { frame->setDeviceScale(static_cast<float>(number(1))); }); }}};
  }
  ~SessionTest() override { frame->close(); }

  void addControls() {
    const auto place = [](float top) { return CRect{10, top, 150, top + 20}; };
    auto* const text = new CTextEdit({place(10), this, 1}, "");
    menu = new COptionMenu({place(50), this, 2});
    menu->addEntry("None");
    auto* const inner = new COptionMenu({place(0), this, 3});
    inner->addEntries("Low\nHigh");
    menu->addEntry(inner, "Inner");
    auto* const dragged = new Dragged({place(90), this, 4});
    dragged->setMin(-100);
    dragged->setMax(100);
    dragged->setWheelInc(10);
    for (CView* const view : std::initializer_list<CView*>{text, menu, dragged}) {
      frame->addView(view);
    }
  }

  // What the frame asks for, and what controls tell.
  void beginEdit(std::int32_t /*tag*/) override {}
  void endEdit(std::int32_t /*tag*/) override {}
  void setParameter(std::int32_t /*tag*/, float /*normalised*/) override {}
  [[nodiscard]] CFrame* getFrame() const override { return frame.get(); }
  void frameCallback(std::int32_t /*code*/, void* /*data*/) override {}
  void valueChanged(CControl& control) override {
    if (auto* const text = dynamic_cast<CTextEdit*>(&control)) hear("'" + text->getText() + "'");
    if (&control == menu) {
      hear((menu->getLastItemMenu() == menu ? "menu " : "inner ") +
           std::to_string(menu->getLastResult()));
    }
    if (auto* const dragged = dynamic_cast<Dragged*>(&control)) {
      hear("at " + std::to_string(static_cast<int>(dragged->getValue())));
      for (const std::string& path : std::exchange(dragged->dropped, {})) hear(path);
    }
  }

  void hear(const std::string& text) { heard += (heard.empty() ? "" : "; ") + text; }
  template <typename Act>
  void locked(const Act& act) {
    const std::lock_guard guard(frame->treeLock());
    act();
  }
  void pump() {
    frame->idle();
    source.pump();
  }
  void runShell() {
    const std::string text = shellSays("T=" + files.path("t") + "; " + row[1], [this] { pump(); });
    if (!text.empty()) hear("says " + text);
  }
  /// Moves the pointer to a row of the open menu: level, row.
  void pointAtRow() {
    CPoint middle;
    const bool isThere = becomes([&] {
      pump();
      const auto* const open = dynamic_cast<PopupMenu*>(frame->getModalView());
      const auto level = static_cast<std::size_t>(number(1));
      if (open == nullptr || open->panelCount() <= level) return false;
      middle = open->panel(level).rowPlace(number(2)).centre();
      return true;
    });
    EXPECT_TRUE(isThere);
    XWarpPointer(host.display(), None, DefaultRootWindow(host.display()), 0, 0, 0, 0,
                 static_cast<int>(middle.x * frame->getScale()),
                 static_cast<int>(middle.y * frame->getScale()));
    XFlush(host.display());
  }
  void afterRow() override {
    (void)becomes([this] { return pump(), heard == row.back(); }, std::chrono::seconds(5));
    said = std::exchange(heard, "");
  }

  XServer server;
  HostWindow host;
  TestDirectory files;
  std::string heard;
  Held<CGFrame> frame;
  COptionMenu* menu = nullptr;
  DragSource source{[this](const std::string& text) { hear(text); }};
};

TEST_P(SessionTest, ControlsDoWhatTheUserDoes) { run(TEST_DATA "/session.txt"); }

INSTANTIATE_TEST_SUITE_P(BothWays, SessionTest, testing::Values(false, true),
                         [](const auto& way) { return way.param ? "OpenGl" : "Plain"; });

}  // namespace
