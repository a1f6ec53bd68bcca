#include "platform/process.h"

#include <malloc.h>
#include <unistd.h>

std::int64_t processId() noexcept { return ::getpid(); }

void returnFreedMemory() noexcept { ::malloc_trim(0); }
