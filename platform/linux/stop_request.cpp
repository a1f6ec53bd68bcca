#include "platform/stop_request.h"

#include <signal.h>

#include <atomic>
#include <initializer_list>

namespace {

std::atomic<int> requested{0};                         // the signal
static_assert(std::atomic<int>::is_always_lock_free);  // a signal handler may not lock

extern "C" void onStopSignal(int number) { requested.store(number, std::memory_order_relaxed); }

constexpr std::initializer_list<int> kRequests = {SIGINT, SIGTERM, SIGHUP};

void handleRequests(void (*handler)(int)) noexcept {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (const int number : kRequests) {
    struct sigaction current {};
    // A process started with a signal ignored (nohup) keeps it ignored.
    if (sigaction(number, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) continue;
    sigaction(number, &action, nullptr);
  }
}

}  // namespace

void catchStopRequests() noexcept {
  handleRequests(onStopSignal);
  signal(SIGXFSZ, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
}

void releaseStopRequests() noexcept { handleRequests(SIG_DFL); }

bool stopRequested() noexcept { return requested.load(std::memory_order_relaxed) != 0; }

int stopStatus() noexcept {
  constexpr int kBySignal = 128;
  const int number = requested.load(std::memory_order_relaxed);
  return number == 0 ? 0 : kBySignal + number;
}
