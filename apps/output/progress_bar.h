#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

/// The bar as a line of at most `columns` characters: share done and time left. `done` is clamped
/// to `total`; with a `total` of 0 (unknown) only the elapsed time is shown.
[[nodiscard]] std::string progressLine(std::int64_t done, std::int64_t total,
                                       std::int64_t elapsedMs, int columns);

/// A bar on the standard error stream, drawn by calls of `advance` at most ten times a second. Any
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
  /// Prints a line to the standard error stream; the bar moves below it.
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
  std::mutex mutex;                    // guards the stream and `drawn`
  bool drawn = false;
};
