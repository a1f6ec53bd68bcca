// Linked into every test program.

#include <signal.h>

// The sanitizers do not see inside the software driver. It keeps memory of some contexts and
// refusals of requests for windows that have gone.
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "race:swrast_dri.so\nmutex:swrast_dri.so\ndeadlock:libEGL_mesa.so\n";
}
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:swrast_dri.so\nleak:libxcb.so\nleak:libEGL.so\nleak:libGLX.so\n";
}

namespace {

/// Signals that whoever started the program ignores or blocks, as `nohup` does, are so for all
/// programs that a test starts, too.
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
