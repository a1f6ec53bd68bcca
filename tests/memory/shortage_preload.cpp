// Loaded in front of a program: each time a test asks for it, by a byte on the standard input, a
// copy of the program runs to its end from where it is loaded, and memory runs out.

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/memory/memory_walk.h"
#include "tests/support/realtime_guard.h"

namespace {

Shortage* shared = nullptr;

bool fails() noexcept { return !HostMemory::inUse() && shared->strikes(); }

__attribute__((constructor)) void begin() {
  shared = static_cast<Shortage*>(
      mmap(nullptr, sizeof(Shortage), PROT_READ | PROT_WRITE, MAP_SHARED, kShortageDescriptor, 0));
  for (char asked = 0; shared != MAP_FAILED && read(STDIN_FILENO, &asked, 1) == 1;) {
    const pid_t child = fork();
    if (child == 0) return letAllocationsFail(&fails);
    waitpid(child, &shared->status, 0);
    sem_post(&shared->hasRun);
  }
  _exit(0);
}

}  // namespace
