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

/// An object with work to do every 10 ms on the message thread.
class IdleClient {
 public:
  virtual ~IdleClient() = default;
  virtual void onIdle() = 0;
  /// Follows `onIdle` in the same tick.
  virtual void onEditorIdle() {}
};

/// The one timer that serves all effects of the process: each tick calls every client in the order
/// in which they were added. Removing the last client ends the timer's thread; if a tick is under
/// way, the timer is only stopped and waits for the next client.
///
/// Threads: `add` and `remove` on any thread, also from within a tick. An exception thrown by a
/// client ends the turn of that client only.
class IdleTimer {
 public:
  static constexpr std::int32_t kIntervalMs = 10;
  using TimerFactory = std::function<std::unique_ptr<Timer>()>;

  explicit IdleTimer(TimerFactory makeTimer);
  /// No tick may be under way, and no client may use the timer any more.
  ~IdleTimer() = default;
  IdleTimer(const IdleTimer&) = delete;
  IdleTimer& operator=(const IdleTimer&) = delete;

  /// The instance of this process, made on first use. A child of `fork()` has one of its own;
  /// clients inherited from the parent get no ticks there.
  static IdleTimer& instance();

  /// Adds a client, which is not owned and must be removed before it is destroyed. Adding it again
  /// does nothing. Restarts the timer. Throws, with the client not added, when memory runs out or
  /// no thread can be started.
  void add(IdleClient& client);

  /// Removes a client: once this has returned, no tick touches it. Waits while another thread is
  /// calling the client, so the caller must hold no lock that the client's idle call needs. From
  /// within the client's own call it does not wait, and that tick does not touch the client again.
  /// Restarts the timer if clients are left. Removing a client that was not added does nothing.
  /// Allocates nothing.
  void remove(IdleClient& client);

 private:
  struct Registration {
    IdleClient* client;
    std::uint64_t serial;  // ascending; distinguishes a client from a later one at its address
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
  std::uint64_t generation = 0;  // of `timer`; a late tick of a discarded timer must call nobody
  std::unique_ptr<Timer> timer;
};
