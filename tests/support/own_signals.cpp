// Linked into every test program: signals that whoever started it ignores or blocks, such as
// `nohup`, are so for all programs that a test starts, too.

#include <signal.h>

namespace {

const struct OwnSignals {
  OwnSignals() {
    for (int number = 1; number < NSIG; ++number) {
      struct sigaction current {};
      if (sigaction(number, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
        signal(number, SIG_DFL);
      }
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
  }
} ownSignals;

}  // namespace
