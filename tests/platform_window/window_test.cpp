#include <dirent.h>

#include <array>
#include <atomic>
#include <chrono>
#include <clocale>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/native_window.h"
#include "tests/support/becomes.h"
#include "tests/support/sanitizers.h"
#include "tests/support/script.h"
#include "tests/support/shell.h"
#include "tests/support/test_directory.h"
#include "tests/support/x_server.h"

// Last, since its macros have common names.
#include <GL/gl.h>

#include "platform/linux/x11_gl_context.h"
#include "platform/linux/x11_pointer.h"
#include "tests/support/drag_source.h"

#if CORVANTHELIS_ADDRESS_SANITIZER
// Drivers stay loaded: the report knows what they leak by their names.
extern "C" [[gnu::visibility("default")]] int dlclose(void* /*library*/) noexcept { return 0; }
#endif

namespace {

using X11 = std::unique_ptr<Display, int (*)(Display*)>;

/// Tells what it is told.
class Recorder final : public WindowListener {
 public:
  using Say = std::function<void(const std::string& text)>;

  Say say = [](const std::string&) {};
  bool isGone = false;
  std::function<void()> onPress = [] {};

 private:
  static std::string at(DevicePoint where) {
    return std::to_string(static_cast<int>(where.x)) + "," +
           std::to_string(static_cast<int>(where.y)) + " ";
  }
  static std::string keyText(const KeyEvent& key) {
    const bool isPlain = key.character > 0x20 && key.character < 0x7F;
    const std::string plain(isPlain ? 1 : 0, static_cast<char>(key.character));
    return std::to_string(static_cast<int>(key.key)) + "/" + plain + "/" + key.text + " " +
           std::to_string(key.modifiers.all());
  }

  void mouseDown(DevicePoint where, CButton changed, CButtonState buttons) override {
    say("down " + at(where) + std::to_string(changed) + ":" + std::to_string(buttons.all()));
    onPress();
  }
  void mouseUp(DevicePoint where, CButton changed, CButtonState buttons) override {
    say("up " + at(where) + std::to_string(changed) + ":" + std::to_string(buttons.all()));
  }
  void mouseMoved(DevicePoint where, CButtonState buttons) override {
    say("move " + at(where) + std::to_string(buttons.all()));
  }
  void mouseLeft() override { say("left"); }
  void wheel(DevicePoint where, float steps, CButtonState buttons) override {
    say("wheel " + at(where) + std::to_string(static_cast<int>(steps)) + ":" +
        std::to_string(buttons.all()));
  }
  /// Of use are all keys but the letter h, which is for the host.
  bool keyDown(const KeyEvent& key) override {
    say("key " + keyText(key));
    return key.character != 'h';
  }
  bool keyUp(const KeyEvent& key) override { return key.character != 'h'; }
  void focusChanged(bool has) override { say(has ? "focus" : "no focus"); }
  void resized(int width, int height) override {
    say("size " + std::to_string(width) + "x" + std::to_string(height));
  }
  void scaleChanged(double scale) override {
    say("scale " + std::to_string(static_cast<int>(scale * 100.0)));
  }
  void exposed(const DeviceRect& /*part*/) override {}
  void closeAsked() override { say("close"); }
  void destroyed() override {
    isGone = true;
    say("gone");
  }
  bool dropMoved(DevicePoint where) override {
    say("over " + at(where));
    return where.x < 100.0;
  }
  void dropLeft() override { say("out"); }
  void filesDropped(DevicePoint where, const std::vector<std::string>& paths) override {
    std::string text = "files " + at(where);
    for (const std::string& path : paths) text += "[" + path + "]";
    say(text);
  }
  void clipboardText(std::string_view text) override {
    const bool isLong = text.size() > 100;
    say("text " + (isLong ? std::to_string(text.size()) : "[" + std::string(text) + "]"));
  }
};

/// Draws to a window on a thread of its own until it goes.
class Painter {
 public:
  explicit Painter(NativeWindow& window) : Painter(window.makeGlContext(8)) {}
  explicit Painter(std::unique_ptr<GlContext> gl)
      : context(std::move(gl)), thread([this] {
          while (!isEnding) paint();
        }) {}
  ~Painter() {
    isEnding = true;
    thread.join();
  }
  std::atomic<int> frames{0};
  std::atomic<bool> isRefused{false};

 private:
  void paint() {
    if (context == nullptr || !context->makeCurrent()) {
      isRefused = true;
      std::this_thread::yield();
      return;
    }
    if (frames == 0) context->setSwapInterval(1);
    glClearColor(1.0F, 0.5F, 0.0F, 1.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    context->swap();
    context->release();
    ++frames;
  }
  const std::unique_ptr<GlContext> context;
  std::atomic<bool> isEnding{false};
  std::thread thread;
};

/// A window of ours inside one of a host.
class WindowTest : public Script {
 protected:
  explicit WindowTest(const std::vector<std::string>& lacking = {}) : server(lacking) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    recorder.say = [this](const std::string& text) { hear(text); };
    host.reset(XOpenDisplay(nullptr));
    XSetWindowAttributes wishes{};
    wishes.event_mask = KeyPressMask;
    parent = XCreateWindow(host.get(), DefaultRootWindow(host.get()), 0, 0, 300, 200, 0,
                           CopyFromParent, InputOutput, nullptr, CWEventMask, &wishes);
    XMapWindow(host.get(), parent);
    XSetInputFocus(host.get(), parent, RevertToParent, CurrentTime);
    // Keys that xdotool would else make and take away again, maybe before they are read.
    std::array<KeySym, 2> accents = {XK_eacute, XK_dead_acute};
    XChangeKeyboardMapping(host.get(), 247, 1, accents.data(), 2);
    XSync(host.get(), False);
    system = WindowSystem::connect();
    window = system->openChild(parent, 200, 150, recorder);
    commands = {
        {"ask", [this] { window->askClipboard(selection()); }},
        {"closing", [this] { recorder.onPress = [this] { window.reset(); }; }},
        {"drag", [this] { source->drag(window->handle(), number(1), number(2), row[3]); }},
        {"focus", [this] { number(1) != 0 ? window->takeFocus() : window->giveFocusBack(); }},
        {"grab", [this] { window->grabMouse(number(1) != 0); }},
        {"move", [this] { XMoveWindow(host.get(), window->handle(), number(1), number(2)); }},
        {"paint", [this] { paint(); }},
        {"put", [this] { window->putClipboard(selection(), textOf(2)); }},
        {"resources", [this] { setResources(); }},
        {"sh", [this] { runShell(); }},
        {"size", [this] { window->resize(number(1), number(2)); }},
        {"top", [this] { window = system->openTop(row[1], 200, 100, recorder); }},
        {"warp",
         [this] {
           window->warpPointer({1.0 * number(1), 1.0 * number(2)});
         }},
    };
  }

  void afterRow() override {
    const bool isRemade = std::getenv("CORVANTHELIS_REMAKE_TABLES") != nullptr;
    (void)becomes(
        [this, isRemade] {
          pump();
          return heard == row.back() && !isRemade;
        },
        std::chrono::seconds(isRemade ? 1 : 10));
    said = std::exchange(heard, "");
  }
  void hear(const std::string& text) { heard += (heard.empty() ? "" : "; ") + text; }
  void pump() {
    system->pump();
    source->pump();
    while (host != nullptr && XPending(host.get()) > 0) {
      XEvent event;
      XNextEvent(host.get(), &event);
      if (event.type == KeyPress) hear("host " + std::to_string(event.xkey.keycode));
    }
  }
  [[nodiscard]] Clipboard selection() const {
    return row[1] == "primary" ? Clipboard::kPrimary : Clipboard::kClipboard;
  }
  /// A number stands for a text of that length.
  [[nodiscard]] std::string textOf(std::size_t cell) const {
    const int length = std::atoi(row[cell].c_str());
    return length > 0 ? std::string(static_cast<std::size_t>(length), 'x') : row[cell];
  }
  void setResources() {
    XChangeProperty(host.get(), DefaultRootWindow(host.get()), XA_RESOURCE_MANAGER, XA_STRING, 8,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(row[1].data()),
                    static_cast<int>(row[1].size()));
    XFlush(host.get());
  }
  /// While it runs the window answers other programs.
  void runShell() {
    const std::string text = shellSays("T=" + files.path("t") + "; " + row[1], [this] { pump(); });
    if (!text.empty()) hear("says " + text);
  }
  /// The colour of a pixel on the screen.
  [[nodiscard]] unsigned long pixel() {
    XImage* const image =
        XGetImage(host.get(), DefaultRootWindow(host.get()), 20, 10, 1, 1, AllPlanes, ZPixmap);
    const unsigned long colour = XGetPixel(image, 0, 0) & 0xFFFFFF;
    XDestroyImage(image);
    return colour;
  }
  void paint() {
    const std::vector<std::uint32_t> colours(200 * 150, 0xFF204060);
    window->show({reinterpret_cast<const std::uint8_t*>(colours.data()), 200, 150, 800},
                 {5, 5, 500, 500});
    hear(becomes([&] { return pixel() == 0x204060; }) ? "shown" : "not shown");
    const Painter painter(*window);
    hear(becomes([&] { return pixel() >> 8 == 0xFF7F || pixel() >> 8 == 0xFF80; }) ? "painted"
                                                                                   : "not painted");
  }

  XServer server;
  TestDirectory files;
  std::string heard;
  X11 host{nullptr, XCloseDisplay};
  Window parent = None;
  Recorder recorder;
  std::unique_ptr<DragSource> source =
      std::make_unique<DragSource>([this](const std::string& text) { hear(text); });
  std::shared_ptr<WindowSystem> system;
  std::unique_ptr<NativeWindow> window;
};

TEST_F(WindowTest, tellsWhatUserAndProgramsDo) { run(TEST_DATA "/session.txt"); }

class PoorServerTest : public WindowTest {
 protected:
  PoorServerTest() : WindowTest({"MIT-SHM"}) {}
};

TEST_F(PoorServerTest, showsAndPaintsByOtherWays) {
  paint();
  EXPECT_EQ(heard, "shown; painted");
  const auto target = std::make_shared<X11GlTarget>();
  const Painter painter(makeX11GlxContext(host.get(), window->handle(), target, 8));
  EXPECT_TRUE(becomes([&] { return painter.frames > 2; }));
  target->isGone = true;
  EXPECT_TRUE(becomes([&] { return painter.isRefused.load(); }));
}

TEST(PointerTest, tellsNoLeapsOfItsOwn) {
  X11PointerPlace pointer;
  EXPECT_TRUE(pointer.moveTo({50.0, 50.0}, 1));
  pointer.warp({10.0, 10.0}, 5);
  EXPECT_TRUE(pointer.moveTo({53.0, 49.0}, 4));  // on its way when it leapt
  EXPECT_EQ(pointer.place().x, 13.0);
  EXPECT_EQ(pointer.place().y, 9.0);
  pointer.warp({10.0, 10.0}, 6);
  EXPECT_TRUE(pointer.moveTo({55.0, 50.0}, 6));  // queued in the server
  EXPECT_EQ(pointer.place().x, 12.0);
  EXPECT_FALSE(pointer.moveTo({10.0, 10.0}, 6));
  EXPECT_TRUE(pointer.moveTo({11.0, 10.0}, 7));
  EXPECT_EQ(pointer.place().x, 11.0);
}

TEST(WheelTest, countsPartsOfSteps) {
  X11WheelAxes axes({{9, 2, 15.0, 100.0}, {9, 3, -10.0, 0.0}});
  unsigned char mask = 0b1101;
  double values[] = {7.0, 107.5, 20.0};
  XIDeviceEvent event{};
  event.sourceid = 9;
  event.valuators = {1, &mask, values};
  EXPECT_EQ(axes.stepsOf(event), -0.5F + 2.0F);
  values[1] = 92.5;
  EXPECT_EQ(axes.stepsOf(event), 1.0F);
  event.sourceid = 8;
  values[1] = 0.0;
  EXPECT_EQ(axes.stepsOf(event), 0.0F);
}

int openFiles() {
  int count = 0;
  DIR* const folder = opendir("/proc/self/fd");
  while (readdir(folder) != nullptr) ++count;
  closedir(folder);
  return count;
}

TEST_F(WindowTest, opensAndClosesAnyNumberOfTimes) {
  const int before = openFiles();
  const XIOErrorHandler ofHost = XSetIOErrorHandler(nullptr);
  for (int i = 0; i < 200; ++i) {
    Recorder other;
    auto second = system->openChild(parent, 50, 50, other);
    ASSERT_NE(second, nullptr);
    if (i % 20 == 0) {
      const Painter painter(*second);
      EXPECT_TRUE(becomes([&] { return painter.frames > 2; }));
      if (i % 40 == 0) second.reset();
      EXPECT_TRUE(second != nullptr || becomes([&] { return painter.isRefused.load(); }));
    }
    system->pump();
  }
  EXPECT_EQ(openFiles(), before);
  EXPECT_EQ(XSetIOErrorHandler(nullptr), ofHost);
}

TEST_F(WindowTest, outlivesItsParentAndTheDisplay) {
  EXPECT_EQ(system->openChild(0x123456, 10, 10, recorder), nullptr);
  {
    const Painter painter(*window);
    EXPECT_TRUE(becomes([&] { return painter.frames > 2; }));
    XDestroyWindow(host.get(), parent);
    XSync(host.get(), False);
    EXPECT_TRUE(becomes([&] { return system->pump(), recorder.isGone; }));
    EXPECT_TRUE(becomes([&] { return painter.isRefused.load(); }));
  }
  window->takeFocus();
  EXPECT_EQ(window->makeGlContext(0), nullptr);

  Recorder another;
  window = system->openTop("top", 100, 100, another);
  {
    const Painter painter(*window);
    EXPECT_TRUE(becomes([&] { return painter.frames > 2; }));
    window->putClipboard(Clipboard::kClipboard, "lost");
    source.reset();
    host.reset();
    server.kill();
    window->takeFocus();
    EXPECT_TRUE(becomes([&] { return system->pump(), another.isGone; }));
    EXPECT_TRUE(becomes([&] { return painter.isRefused.load(); }));
  }
  EXPECT_EQ(WindowSystem::connect(), nullptr);
  const XServer next;
  EXPECT_NE(WindowSystem::connect(), nullptr);
}

TEST(OffScreenTest, drawsWithoutADisplay) {
  for (const int samples : {0, 4, 8}) {
    const auto context = GlContext::makeOffScreen(64, 32, samples);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->samples(), samples % 8);  // software has no more than four
    ASSERT_TRUE(context->makeCurrent());
    glClearColor(0.2F, 0.4F, 0.6F, 1.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    std::uint32_t pixel = 0;
    glReadPixels(63, 31, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
    EXPECT_EQ(pixel, 0xFF996633U);
    context->release();
  }
}

}  // namespace
