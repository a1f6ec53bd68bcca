// Loaded in front of a program, lets its memory run out as the test wants it.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/memory/program_shortage.h"
#include "tests/support/realtime_guard.h"

namespace {

ProgramShortage* shortage = nullptr;

bool fails() noexcept {
  const int number = shortage->met.fetch_add(1);
  return number == shortage->first || (shortage->lasts && number > shortage->first);
}

__attribute__((constructor)) void begin() {
  const int file = open(std::getenv("CORVANTHELIS_SHORTAGE"), O_RDWR | O_CLOEXEC);
  void* const shared =
      mmap(nullptr, sizeof(ProgramShortage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (shared == MAP_FAILED) return;
  shortage = static_cast<ProgramShortage*>(shared);
  letAllocationsFail(&fails);
}

}  // namespace
