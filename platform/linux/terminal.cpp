#include "platform/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

bool inputStreamIsTerminal() noexcept { return ::isatty(STDIN_FILENO) == 1; }

bool outputStreamIsTerminal() noexcept { return ::isatty(STDOUT_FILENO) == 1; }

bool errorStreamIsTerminal() noexcept { return ::isatty(STDERR_FILENO) == 1; }

int errorStreamColumns() noexcept {
  struct winsize size {};
  const bool told = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return told ? size.ws_col : 80;
}
