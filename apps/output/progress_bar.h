#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

/// The bar as a line of at most `columns` characters: share done and time left. `done` beyond
/// `total` counts as all; with a `total` of 0 the length is not known, and only the time spent is
/// shown.
[[nodiscard]] std::string progressLine(std::int64_t done, std::int64_t total,
                                       std::int64_t elapsedMs, int columns);

/// A bar on the standard error stream, drawn ten times a second by those who advance it. Any
/// thread.
class ProgressBar {
 public:
  /// Shows nothing unless `visible`.
  explicit ProgressBar(bool visible);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void addTotal(std::int64_t frames) noexcept {
    total.fetch_add(frames, std::memory_order_relaxed);
  }
  void advance(std::int64_t frames);
  /// Writes a whole line to the standard error stream; the bar moves below it.
  void printLine(const std::string& line);
  void clear();

 private:
  void draw(std::int64_t now);
  void wipe();

  const bool visible;
  const std::int64_t start;  // ms
  std::atomic<std::int64_t> done{0};
  std::atomic<std::int64_t> total{0};
  std::atomic<std::int64_t> nextDraw;  // ms
  std::mutex mutex;                    // of the stream and of what stands on it
  bool drawn = false;
};
