#include "tests/memory/memory_walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <vector>

#include "tests/support/host_memory.h"
#include "tests/support/realtime_guard.h"

namespace {

thread_local bool isMeeting = false;
std::atomic<const Shortage*> present{nullptr};
std::atomic<int> met{0};

bool fails() noexcept {
  const Shortage* const shortage = present.load();
  if (shortage == nullptr || HostMemory::inUse() || isMeeting == shortage->elsewhere) return false;
  const int number = met.fetch_add(1);
  const bool isIt = number == shortage->first || (shortage->lasts && number > shortage->first);
  if (isIt) shortage->struck = true;
  return isIt;
}

/// What a child tells, also when it dies.
struct Report {
  int number;  // of the shortage being met
  int wrong;
  bool isDone;
  char firstWrong[400];
};

void meetAll(Report& report, const Attempt& attempt, int step, bool lasts, bool elsewhere) {
  for (;; report.number += step) {
    const Shortage shortage{report.number, lasts, elsewhere};
    std::string complaint;
    try {
      complaint = attempt(shortage);
    } catch (const std::exception& fault) {
      complaint = std::string("an exception came out: ") + fault.what();
    }
    if (!complaint.empty() && report.wrong++ == 0) {
      std::strncpy(report.firstWrong, complaint.c_str(), sizeof report.firstWrong - 1);
    }
    if (!shortage.struck) break;
  }
  report.isDone = true;
}

/// Runs children until one comes to the end; returns at which shortages the others died.
std::vector<int> walk(Report& report, const std::function<Attempt()>& prepare,
                      const WalkOptions& options, bool lasts) {
  std::vector<int> deaths;
  const int step = lasts ? options.lastingStep : options.step;
  while (!report.isDone) {
    const pid_t child = fork();
    if (child == 0) {
      meetAll(report, prepare(), step, lasts, options.elsewhere);
      _exit(0);
    }
    waitpid(child, nullptr, 0);
    if (report.isDone) break;
    deaths.push_back(report.number);
    report.number += step;
  }
  return deaths;
}

}  // namespace

Shortage::Scope::Scope(const Shortage& which) noexcept : shortage(which) {
  isMeeting = true;
  met = 0;
  present = &shortage;
}

Shortage::Scope::~Scope() {
  present = nullptr;
  isMeeting = false;
}

void walkMemory(const std::string& phase, const std::function<Attempt()>& prepare,
                const WalkOptions& options) {
  letAllocationsFail(&fails);
  void* const shared =
      mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(shared, MAP_FAILED);
  for (const bool lasts : {false, true}) {
    Report& report = *new (shared) Report{};
    const std::vector<int> deaths = walk(report, prepare, options, lasts);
    std::cout << phase << (lasts ? ", lasting: " : ": ") << report.number << " allocations, "
              << deaths.size() << " deaths, " << report.wrong << " wrong" << std::endl;
    EXPECT_THAT(deaths, testing::IsEmpty()) << phase;
    EXPECT_EQ(report.wrong, 0) << phase << ": " << report.firstWrong;
  }
  munmap(shared, sizeof(Report));
}
