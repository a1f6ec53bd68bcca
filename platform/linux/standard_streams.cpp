#include "platform/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

void holdClosedStandardStreams() noexcept {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) != -1) continue;
    // `open` returns the lowest free number: this one. Opened so that the input cannot be read and
    // the outputs cannot be written.
    const int held = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (held != stream && held != -1) close(held);
  }
}
