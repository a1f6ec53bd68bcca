#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "platform/file_lock.h"
#include "platform/timer.h"
#include "tests/support/becomes.h"
#include "tests/support/test_directory.h"

namespace {

using std::chrono::milliseconds;

constexpr std::int32_t kForeverMs = 600000;

TEST(Timer, KeepsItsRateAndDropsWhatItMisses) {
  constexpr int kInterval = 10;
  std::vector<std::int64_t> ticks;
  std::atomic<int> count{0};
  const auto timer = makeTimer();
  const auto start = monotonicMilliseconds();
  timer->start(kInterval, [&] {
    ticks.push_back(monotonicMilliseconds());
    // The first calls take most of the interval, and then one takes very long.
    if (count <= 10) std::this_thread::sleep_for(milliseconds(count == 10 ? 20 * kInterval : 7));
    ++count;
  });
  ASSERT_TRUE(becomes([&] { return count >= 31; }));
  timer->stop();
  EXPECT_GE(ticks[10] - start, 11 * kInterval - 1) << "no call before its time";
  std::set<std::int64_t> gaps;
  for (std::size_t i = 1; i <= 10; ++i) gaps.insert(ticks[i] - ticks[i - 1]);
  EXPECT_LT(*gaps.begin(), 7 + kInterval) << "a pause after each call instead of a rate";
  int caughtUp = 0;
  for (std::size_t i = 12; i < 31; ++i) caughtUp += ticks[i] - ticks[i - 1] < kInterval - 1;
  EXPECT_LT(caughtUp, 15) << "calls in a burst for those that were missed";
}

TEST(Timer, StaysOnOneThreadOverRestartsAlsoFromWithinACall) {
  std::set<std::thread::id> threads;
  std::atomic<int> first{0};
  std::atomic<int> second{0};
  auto timer = makeTimer();
  for (const int round : {1, 2}) {
    timer->start(kForeverMs, nullptr);
    timer->start(kForeverMs, [] {});
    std::this_thread::sleep_for(milliseconds(5));
    timer->start(-3, [&] {  // as fast as it goes, even if it sleeps for long
      ++first;
      timer->start(1, [&] {
        threads.insert(std::this_thread::get_id());
        if (++second % 3 == 0) timer->stop();
      });
    });
    ASSERT_TRUE(becomes([&] { return second >= 3 * round; }));
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(first, round);
    EXPECT_EQ(second, 3 * round);
  }
  std::atomic<int> begun{0};
  std::atomic<int> done{0};
  timer->start(1, [&] {
    ++begun;
    std::this_thread::sleep_for(milliseconds(30));
    ++done;
  });
  ASSERT_TRUE(becomes([&] { return begun > 0; }));
  timer.reset();
  EXPECT_EQ(done, begun) << "a call under way is waited for";
  EXPECT_EQ(threads.size(), 1U);
  EXPECT_EQ(threads.count(std::this_thread::get_id()), 0U);
}

TEST(FileLock, KeepsOthersOutAlsoOfAFileThatWasRemoved) {
  const TestDirectory folder;
  const std::string path = folder.path("lock");
  FileLock held;
  FileLock other;
  EXPECT_FALSE(held.lock(path, milliseconds(0)));
  const auto before = monotonicMilliseconds();
  EXPECT_EQ(other.lock(path, milliseconds(20)), std::errc::timed_out);
  EXPECT_GE(monotonicMilliseconds() - before, 19);
  std::error_code late;
  std::thread waiting([&] { late = other.lock(path, milliseconds(300)); });
  std::this_thread::sleep_for(milliseconds(50));
  std::filesystem::remove(path);
  auto newer = std::make_unique<FileLock>();
  EXPECT_FALSE(newer->lock(path, milliseconds(0)));
  EXPECT_FALSE(held.lock(folder.path("another"), milliseconds(0)));  // gives up the first one
  waiting.join();
  EXPECT_EQ(late, std::errc::timed_out) << "holds what nobody else can find";
  newer.reset();
  EXPECT_FALSE(other.lock(path, milliseconds(0)));
  EXPECT_EQ(other.lock(folder.path("no/lock"), milliseconds(0)),
            std::errc::no_such_file_or_directory);
}

}  // namespace
