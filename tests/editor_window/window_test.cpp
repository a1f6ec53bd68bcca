// The editor in a host's window, drawn in both ways: as it opens, closes and goes in every manner.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>

#include "graphs/opengl/ogl_frame.h"
#include "tests/support/becomes.h"
#include "tests/support/edited_effect.h"
#include "tests/support/x_server.h"
// Last, since its macros have common names.
#include "tests/support/host_window.h"

namespace {

/// Half as large as the editor is made: 422 by 349.
class EditorWindow : public testing::TestWithParam<bool> {
 protected:
  // Each time that a driver in software is unloaded it loses memory: this keeps it.
  static void SetUpTestSuite() { static_cast<void>(GlContext::makeOffScreen(1, 1, 0)); }

  /// The bar at the top, which is neither the ground's colour nor the host's.
  [[nodiscard]] bool becomesDrawn(EditedEffect& edited) {
    return becomes([&] { return edited.idle(), host->isDrawn(); });
  }
  [[nodiscard]] bool opens(EditedEffect& edited) {
    return edited.editor->open(host->handle()) && becomesDrawn(edited);
  }

  XServer server;
  std::optional<HostWindow> host{std::in_place};
  EditedEffect effect{{GetParam(), {}}, 0.5};
};

std::ptrdiff_t countOf(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return std::distance(begin(entries), end(entries));
}

TEST_P(EditorWindow, OpensAndClosesAnyNumberOfTimes) {
  const char* const wanted = std::getenv("CORVANTHELIS_OPENINGS");
  const int count = wanted == nullptr ? 15 : std::atoi(wanted);
  EditedEffect other({GetParam(), {}}, 0.5);
  std::ptrdiff_t files = 0;
  std::ptrdiff_t threads = 0;
  for (int i = 0; i < count; ++i) {
    SCOPED_TRACE(testing::Message() << "time " << i);
    ASSERT_TRUE(effect.editor->open(host->handle()));
    const auto* const drawn = dynamic_cast<OGLFrame*>(effect.editor->shownFrame());
    ASSERT_EQ(drawn != nullptr && drawn->getRender() != nullptr, GetParam());
    ASSERT_TRUE(i % 5 != 0 || becomesDrawn(effect));
    if (i % 3 == 0) {
      ASSERT_TRUE(other.editor->open(host->handle()));
      other.idle();
    }
    // At any moment of a frame.
    effect.change();
    effect.idle();
    std::this_thread::sleep_for(std::chrono::milliseconds(i % 16));
    effect.editor->close();
    ASSERT_TRUE(i % 3 != 0 || becomesDrawn(other)) << "the other shows itself in its place";
    other.editor->close();
    ASSERT_TRUE(becomes([this] { return host->children().empty(); }));
    if (i == 2) files = countOf("/proc/self/fd"), threads = countOf("/proc/self/task");
  }
  EXPECT_EQ(countOf("/proc/self/fd"), files);
  EXPECT_EQ(countOf("/proc/self/task"), threads);
}

TEST_P(EditorWindow, FollowsScaleAndHost) {
  ASSERT_TRUE(opens(effect));
  EXPECT_EQ(host->pixel(600, 10), HostWindow::kGround);
  host->hideAndShow();
  EXPECT_TRUE(becomesDrawn(effect));
  {
    const std::lock_guard guard(effect.editor->shownFrame()->treeLock());
    effect.editor->shownFrame()->setDeviceScale(2.0F);
  }
  EXPECT_TRUE(
      becomes([&] { return effect.idle(), host->isDrawn(500, 10) && host->pixel(630, 30) == 0; }));
  // The picture stays at the top of what the host makes of the window.
  const Window own = host->children().at(0);
  for (const unsigned height : {900U, 300U}) {
    SCOPED_TRACE(height);
    XResizeWindow(host->display(), own, 900, height);
    XSync(host->display(), False);
    for (int i = 0; i < 10; ++i) {
      effect.idle();
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(becomesDrawn(effect));
    EXPECT_TRUE(host->isDrawn(500, 10) && !host->isDrawn(100, 30));
  }
}

TEST_P(EditorWindow, ClosesWithParentDisplayAndWithinEvents) {
  ASSERT_TRUE(opens(effect));
  host->destroy();
  EXPECT_TRUE(becomes([&] { return effect.idle(), !effect.editor->isOpen(); }));
  EXPECT_TRUE(effect.plays());
  EXPECT_FALSE(effect.editor->open(host->handle())) << "in a window that is gone";

  host.emplace();
  ASSERT_TRUE(opens(effect));
  {
    // As from within an event: the lock of the views is held, and a frame waits for it.
    const Held<CGFrame> closing(effect.editor->shownFrame());
    const std::lock_guard guard(closing->treeLock());
    closing->setDirty();
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    effect.editor->close();
  }
  ASSERT_TRUE(opens(effect));
  effect.change();
  void* const place = host->handle();
  host.reset();
  server.kill();
  EXPECT_TRUE(becomes([&] { return effect.idle(), !effect.editor->isOpen(); }));
  EXPECT_TRUE(effect.plays());
  EXPECT_FALSE(effect.editor->open(place));

  const XServer next;
  host.emplace();
  EXPECT_TRUE(opens(effect));
  effect.editor->close();
  host.reset();
}

TEST_P(EditorWindow, ShowsWhileEveryThreadIsAtWork) {
  const auto start = [](std::function<void(int)> work) {
    return std::jthread([work = std::move(work)](const std::stop_token& end) {
      for (int i = 0; !end.stop_requested(); ++i) {
        work(i);
        std::this_thread::sleep_for(std::chrono::microseconds(300));
      }
    });
  };
  const std::array<std::jthread, 2> others = {
      start([&](int i) {
        const auto normalised = static_cast<float>(i % 101) * 0.01F;
        effect.plug.setParameter(i * 37 % kNumParams, normalised);
        if (i % 8 == 0) effect.plug.setParameterAutomated(kB1Threshold, normalised);
        if (i % 50 == 0) effect.plug.editorState().layoutWanted = true;
        effect.plug.editorState().wantedUimode = i / 100 % 3;
      }),
      start([&](int /*i*/) { static_cast<void>(effect.plays()); })};
  for (int round = 0; round < 4; ++round) {
    ASSERT_TRUE(effect.editor->open(host->handle()));
    for (int i = 0; i < 20; ++i) {
      effect.idle();
      if (i % 5 == 4) {
        const std::lock_guard guard(effect.editor->shownFrame()->treeLock());
        effect.editor->shownFrame()->setDeviceScale(1.0F + static_cast<float>(i % 3) * 0.25F);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(becomesDrawn(effect));
    effect.editor->close();
  }
}

INSTANTIATE_TEST_SUITE_P(BothWays, EditorWindow, testing::Values(false, true),
                         [](const auto& way) { return way.param ? "OpenGl" : "Plain"; });

}  // namespace
