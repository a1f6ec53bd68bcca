#include "platform/byte_stream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <thread>
#include <utility>

#include "platform/linux/last_error.h"
#include "platform/stop_request.h"

namespace {

// A signal may come just before a wait, which then lasts so long.
constexpr int kPauseMs = 50;

}  // namespace

bool isStream(const std::string& path) noexcept {
  struct stat status {};
  return path == "-" || (::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode));
}

ByteStream::~ByteStream() { close(); }

std::error_code ByteStream::openToRead(const std::string& path) {
  close();
  // Without O_NONBLOCK a signal could not end the wait for a writer; reading waits for one.
  descriptor = path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  return descriptor < 0 ? lastError() : std::error_code{};
}

std::error_code ByteStream::openToWrite(const std::string& path) {
  close();
  if (path == "-") {
    descriptor = STDOUT_FILENO;
    return {};
  }
  while ((descriptor = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) < 0) {
    if (errno != ENXIO) return lastError();
    if (stopRequested()) return std::make_error_code(std::errc::interrupted);
    std::this_thread::sleep_for(std::chrono::milliseconds(kPauseMs));
  }
  return {};
}

std::error_code ByteStream::waitFor(short events) const {
  pollfd wanted{descriptor, events, 0};
  for (;;) {
    if (stopRequested()) return std::make_error_code(std::errc::interrupted);
    const int ready = ::poll(&wanted, 1, kPauseMs);
    if (ready > 0) return {};
    if (ready < 0 && errno != EINTR) return lastError();
  }
}

std::error_code ByteStream::read(void* bytes, std::size_t count, std::size_t& got) {
  got = 0;
  while (got < count) {
    if (const std::error_code error = waitFor(POLLIN)) return error;
    const ssize_t part = ::read(descriptor, static_cast<char*>(bytes) + got, count - got);
    if (part == 0) return {};
    if (part > 0) got += static_cast<std::size_t>(part);
    if (part < 0 && errno != EINTR && errno != EAGAIN) return lastError();
  }
  return {};
}

std::error_code ByteStream::write(const void* bytes, std::size_t count) {
  const char* from = static_cast<const char*>(bytes);
  while (count > 0) {
    if (const std::error_code error = waitFor(POLLOUT)) return error;
    // A pipe that can be written to takes this much without a wait.
    const ssize_t part = ::write(descriptor, from, std::min<std::size_t>(count, PIPE_BUF));
    if (part < 0 && errno != EINTR && errno != EAGAIN) return lastError();
    if (part <= 0) continue;
    from += part;
    count -= static_cast<std::size_t>(part);
  }
  return {};
}

void ByteStream::close() noexcept {
  const int closing = std::exchange(descriptor, -1);
  if (closing > STDERR_FILENO) ::close(closing);
}
