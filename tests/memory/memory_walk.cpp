#include "tests/memory/memory_walk.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <exception>
#include <iostream>
#include <new>

#include "tests/support/realtime_guard.h"

namespace {

constexpr int kEnough = 3;  // complaints, to go on to the next walk

thread_local bool isMeeting = false;
bool isElsewhere = false;
std::atomic<bool> isPresent{false};
Shortage* report = nullptr;

bool fails() noexcept {
  if (!isPresent.load() || HostMemory::inUse() || isMeeting == isElsewhere) return false;
  return report->strikes();
}

void complain(const std::string& what) {
  if (report->wrong++ == 0)
    std::strncpy(report->firstWrong.data(), what.c_str(), report->firstWrong.size() - 1);
}

[[noreturn]] void follow(const std::vector<Shortfall>& plan, const Walk& walk) {
  // The heap is kept: to get it anew for each attempt takes most of the time.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  report->begin(Shortage::kRehearsal);
  const Attempt attempt = walk.prepare();
  if (!walk.isFirst) attempt();  // makes what the process needs but once
  do {
    const auto [number, lasts] = plan[report->tried];
    report->begin({number, lasts});
    std::string wrong;
    try {
      wrong = attempt();
    } catch (const std::exception& fault) {
      wrong = std::string("an exception came out: ") + fault.what();
    }
    if (!wrong.empty())
      complain("allocation " + std::to_string(number) + (lasts ? " and on: " : ": ") + wrong);
  } while (++report->tried < plan.size() && report->wrong < kEnough && !walk.isFirst);
  _exit(0);
}

void tryAll(const std::vector<Shortfall>& plan, const Walk& walk) {
  for (report->tried = 0; report->tried < plan.size() && report->wrong < kEnough;) {
    const pid_t child = fork();
    if (child == 0) follow(plan, walk);
    int status = -1;
    if (waitpid(child, &status, 0) == child && status == 0) continue;
    complain("allocation " + std::to_string(plan[report->tried++].number) + ": a death");
  }
}

}  // namespace

Shortage& shortage() noexcept { return *report; }

void runOut(bool isOut) noexcept {
  isMeeting = isOut;
  isPresent = isOut;
}

void walkMemory(std::initializer_list<Walk> walks) {
  ASSERT_EQ(dup2(memfd_create("shortage", MFD_CLOEXEC), kShortageDescriptor), kShortageDescriptor);
  ASSERT_EQ(ftruncate(kShortageDescriptor, sizeof(Shortage)), 0);
  void* const shared =
      mmap(nullptr, sizeof(Shortage), PROT_READ | PROT_WRITE, MAP_SHARED, kShortageDescriptor, 0);
  ASSERT_NE(shared, MAP_FAILED);
  letAllocationsFail(&fails);
  std::set<std::uint64_t> known;
  for (const Walk& walk : walks) {
    isElsewhere = walk.elsewhere;
    report = new (shared) Shortage;
    sem_init(&report->hasRun, 1, 0);
    tryAll({Shortage::kRehearsal}, walk);
    const std::vector<Shortfall> plan = report->choose(walk.share, known);
    tryAll(plan, walk);
    std::cout << walk.name << ": " << plan.size() << " shortages, " << report->wrong << " wrong\n";
    EXPECT_EQ(report->wrong, 0) << walk.name << ", the first at " << report->firstWrong.data();
  }
}
