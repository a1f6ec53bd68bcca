#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "platform/timer.h"

/// What has work to do every 10 ms on the message thread.
class IdleClient {
 public:
  virtual ~IdleClient() = default;
  virtual void onIdle() = 0;
  /// Follows `onIdle` in the same tick.
  virtual void onEditorIdle() {}
};

/// The one timer that serves all effects of the process: each tick calls every client in the order
/// they were added. The timer's thread ends with the removal of the last client, unless a tick is
/// under way: then it waits, stopped, for the next one.
///
/// Threads: `add` and `remove` from any thread, also from within a tick. An exception out of a
/// client ends its turn, no more.
class IdleTimer {
 public:
  static constexpr std::int32_t kIntervalMs = 10;
  using TimerFactory = std::function<std::unique_ptr<Timer>()>;

  explicit IdleTimer(TimerFactory makeTimer);
  /// No tick may be under way and no client may use it any more.
  ~IdleTimer() = default;
  IdleTimer(const IdleTimer&) = delete;
  IdleTimer& operator=(const IdleTimer&) = delete;

  /// The one of the process, made at first use. A child of `fork()` has one of its own, without the
  /// clients that it inherits: those get no ticks there.
  static IdleTimer& instance();

  /// Not owned: the client leaves before it dies. Adding it twice is as once. Restarts the timer.
  /// Throws, with the client not added, when memory runs out or there is no thread to be had.
  void add(IdleClient& client);

  /// Once this has returned no tick touches the client. Waits for a call of it under way on another
  /// thread, so the caller holds no lock that the client's idle needs; from within a tick of the
  /// client itself it does not wait, and the tick leaves it alone from there on. Restarts the timer
  /// if clients are left. Removing what is not there does nothing. Takes no
  /// memory.
  void remove(IdleClient& client);

 private:
  struct Registration {
    IdleClient* client;
    std::uint64_t serial;  // ascending; tells a client from a later one at the same address
  };
  struct Call {
    std::uint64_t serial;
    std::thread::id thread;
  };

  void tick(std::uint64_t timerGeneration);
  void callClient(const Registration& registration);
  [[nodiscard]] std::optional<Registration> beginCall(std::uint64_t timerGeneration,
                                                      std::uint64_t after, std::uint64_t before);
  void endCall(std::uint64_t serial);
  [[nodiscard]] bool isRegistered(std::uint64_t serial);
  void startTimer();  // under `mutex`

  const TimerFactory makeTimer;
  std::mutex mutex;  // guards all below
  std::condition_variable callEnded;
  std::vector<Registration> registrations;
  std::vector<Call> calls;  // under way; nested when a client runs a message loop
  std::uint64_t nextSerial = 1;
  std::uint64_t generation = 0;  // of `timer`; the last tick of one given up must call nobody
  std::unique_ptr<Timer> timer;
};
