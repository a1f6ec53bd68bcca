#include "platform/stop_request.h"

#include <signal.h>

#include <atomic>

namespace {

std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free);  // a signal handler may not lock

extern "C" void onStopSignal(int) { requested.store(true, std::memory_order_relaxed); }

}  // namespace

void catchStopRequests() noexcept {
  struct sigaction action {};
  action.sa_handler = onStopSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction current {};
    // Who was started with a signal ignored (nohup) keeps it ignored.
    if (sigaction(number, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) continue;
    sigaction(number, &action, nullptr);
  }
  signal(SIGXFSZ, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
}

bool stopRequested() noexcept { return requested.load(std::memory_order_relaxed); }
