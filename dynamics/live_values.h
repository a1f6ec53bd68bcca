#pragma once

class SignalChain;

/// Where the engine gets settings that need no new filter while it plays: without the way over
/// `publish`.
class LiveValues {
 public:
  LiveValues() = default;
  virtual ~LiveValues() = default;
  LiveValues(const LiveValues&) = delete;
  LiveValues& operator=(const LiveValues&) = delete;

  /// Audio thread, before each block: gives `chain` the settings that have changed. `all`:
  /// published settings, which may be older, have just replaced all of them.
  virtual void takeLive(SignalChain& chain, bool all) noexcept = 0;
};
