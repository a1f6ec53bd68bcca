#pragma once

#include <atomic>

/// Keeps a mark raised while it lives, then restores its earlier value.
class Raised {
 public:
  explicit Raised(std::atomic<bool>& sharedMark) : mark(sharedMark), before(mark.exchange(true)) {}
  ~Raised() { mark.store(before); }
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;

 private:
  std::atomic<bool>& mark;
  const bool before;
};
