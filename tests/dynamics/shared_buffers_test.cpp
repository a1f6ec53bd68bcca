#include "dynamics/shared_buffers.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/real_time.h"

namespace {

// Threads run a chain or, as in a fade, two, while others come and go.
TEST(SharedBuffersTest, AreNeverUsedTwiceAtATimeAndGoWithTheLast) {
  ASSERT_EQ(SharedBuffers::count(), 0U);
  const auto play = [](double mark) {
    SharedBuffers first, second;
    for (int block = 0; block < 2000; ++block) {
      if (block % 50 == 0) const SharedBuffers another;
      const bool fades = block % 3 == 0;
      inRealTime([&] {
        first.borrow();
        first->ramp[0] = mark;
        if (fades) {
          second.borrow();
          second->ramp[0] = -mark;
        }
        std::this_thread::yield();
        EXPECT_EQ(first->ramp[0], mark);
        first.giveBack();
        second.giveBack();
      });
    }
  };
  {
    std::vector<std::jthread> threads;
    for (int i = 1; i <= 4; ++i) threads.emplace_back(play, i);
  }
  EXPECT_EQ(SharedBuffers::count(), 0U);
  SharedBuffers one, other;
  one.borrow();
  const WorkBuffers* const used = &*one;
  one.giveBack();
  other.borrow();
  EXPECT_EQ(&*other, used) << "what is near is used again";
}

}  // namespace
