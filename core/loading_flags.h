#pragma once

#include <atomic>
#include <cstdint>

#include "state/user_store.h"

/// Flags for what preset files carry besides parameters; kept in the user's store, not in
/// documents. Threads: any but the audio thread.
class LoadingFlags {
 public:
  /// The editor's part is saved and restored with presets.
  static constexpr std::int32_t kCarriesEditor = 1;

  explicit LoadingFlags(UserStore& userStore) noexcept : store(userStore) {}
  [[nodiscard]] std::int32_t get();
  void set(std::int32_t flags);

 private:
  UserStore& store;
  std::atomic<std::int32_t> latest{-1};
};
