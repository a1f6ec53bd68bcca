#pragma once

#include <cstdint>

class SignalChain;

/// Where the engine gets settings that need no new filter while it plays: without the way over
/// `publish`.
class LiveValues {
 public:
  LiveValues() = default;
  virtual ~LiveValues() = default;
  LiveValues(const LiveValues&) = delete;
  LiveValues& operator=(const LiveValues&) = delete;

  /// What published settings, which may be older than live ones, have just replaced.
  struct Replaced {
    bool any = false;
    std::uint32_t bands = 0;  ///< bits as in `stageBit`: bands whose settings have changed
  };
  /// Audio thread, before each block: gives `chain` the settings that have changed.
  virtual void takeLive(SignalChain& chain, const Replaced& replaced) noexcept = 0;
};
