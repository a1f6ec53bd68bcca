#pragma once

#include <atomic>

/// While it lives, a state is being applied: parameters are taken as they come, no bank is switched
/// to, and no crossover band gives way to another.
class LoadingScope {
 public:
  explicit LoadingScope(std::atomic<bool>& mark) : isLoading(mark), before(mark.exchange(true)) {}
  ~LoadingScope() { isLoading.store(before); }
  LoadingScope(const LoadingScope&) = delete;
  LoadingScope& operator=(const LoadingScope&) = delete;

 private:
  std::atomic<bool>& isLoading;
  const bool before;
};
