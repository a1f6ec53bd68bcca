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

/// What a child tells, also when it dies.
struct Report : SharedShortage {
  std::size_t tried = 0;  // of the plan
  int wrong = 0;
  std::array<char, 400> firstWrong{};
};

thread_local bool isMeeting = false;
bool isElsewhere = false;
std::atomic<bool> isPresent{false};
Report* report = nullptr;

bool fails() noexcept {
  if (!isPresent.load() || HostMemory::inUse() || isMeeting == isElsewhere) return false;
  return report->shortage.strikes();
}

void complain(const std::string& what) {
  if (report->wrong++ == 0)
    std::strncpy(report->firstWrong.data(), what.c_str(), report->firstWrong.size() - 1);
}

std::string complaintOf(const Attempt& attempt) {
  try {
    return attempt();
  } catch (const std::exception& fault) {
    return std::string("an exception came out: ") + fault.what();
  }
}

[[noreturn]] void follow(const std::vector<Shortfall>& plan, const Walk& walk) {
  // The heap is kept: to get it anew for each attempt takes most of the time.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  report->shortage.begin(Shortage::kRehearsal);
  const Attempt attempt = walk.prepare();
  if (!walk.isFirst) attempt();  // makes what the process needs but once
  do {
    const auto [number, lasts] = plan[report->tried];
    report->shortage.begin({number, lasts});
    const std::string wrong = complaintOf(attempt);
    if (!wrong.empty())
      complain("allocation " + std::to_string(number) + (lasts ? " and on: " : ": ") + wrong);
  } while (++report->tried < plan.size() && !walk.isFirst);
  _exit(0);
}

void tryAll(const std::vector<Shortfall>& plan, const Walk& walk) {
  for (report->tried = 0; report->tried < plan.size();) {
    const pid_t child = fork();
    if (child == 0) follow(plan, walk);
    int status = -1;
    if (waitpid(child, &status, 0) == child && status == 0) continue;
    complain("allocation " + std::to_string(plan[report->tried++].number) + ": a death");
  }
}

}  // namespace

SharedShortage& sharedShortage() noexcept { return *report; }

Meeting::Meeting() noexcept {
  isMeeting = true;
  isPresent = true;
}

Meeting::~Meeting() {
  isPresent = false;
  isMeeting = false;
}

void walkMemory(std::initializer_list<Walk> walks) {
  constexpr int kDescriptor = SharedShortage::kDescriptor;
  ASSERT_EQ(dup2(memfd_create("shortage", MFD_CLOEXEC), kDescriptor), kDescriptor);
  ASSERT_EQ(ftruncate(kDescriptor, sizeof(Report)), 0);
  void* const shared =
      mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED, kDescriptor, 0);
  ASSERT_NE(shared, MAP_FAILED);
  letAllocationsFail(&fails);
  std::set<std::uint64_t> known;
  for (const Walk& walk : walks) {
    isElsewhere = walk.elsewhere;
    report = new (shared) Report;
    tryAll({Shortage::kRehearsal}, walk);
    const std::vector<Shortfall> plan = report->shortage.choose(walk.share, known);
    tryAll(plan, walk);
    std::cout << walk.name << ": " << plan.size() << " shortages, " << report->wrong << " wrong\n";
    EXPECT_EQ(report->wrong, 0) << walk.name << ", the first at " << report->firstWrong.data();
  }
}
