#include "host/idle_timer.h"

#include <algorithm>
#include <utility>

#include "platform/of_process.h"

IdleTimer::IdleTimer(TimerFactory factory) : makeTimer(std::move(factory)) {}

IdleTimer& IdleTimer::instance() {
  static OfProcess<IdleTimer> timers([] { return IdleTimer(&::makeTimer); });
  return timers.get();
}

void IdleTimer::startTimer() {
  if (timer == nullptr) timer = makeTimer();
  timer->stop();
  timer->start(kIntervalMs, [this, current = generation] { tick(current); });
}

void IdleTimer::add(IdleClient& client) {
  const std::lock_guard guard(mutex);
  if (std::ranges::find(registrations, &client, &Registration::client) != registrations.end())
    return;
  registrations.reserve(registrations.size() + 1);
  calls.reserve(calls.size() + 1);  // a tick must not fail
  startTimer();
  registrations.push_back({&client, nextSerial++});
}

void IdleTimer::remove(IdleClient& client) {
  std::unique_ptr<Timer> unused;
  std::unique_lock lock(mutex);
  const auto found = std::ranges::find(registrations, &client, &Registration::client);
  if (found == registrations.end()) return;
  const std::uint64_t serial = found->serial;
  registrations.erase(found);
  if (registrations.empty()) {
    timer->stop();
  } else {
    startTimer();
  }
  const auto calledElsewhere = [serial, own = std::this_thread::get_id()](const Call& call) {
    return call.serial == serial && call.thread != own;
  };
  callEnded.wait(lock, [&] { return std::ranges::none_of(calls, calledElsewhere); });
  // A timer cannot be deleted from its own tick: it then stays, stopped, for the next client.
  if (registrations.empty() && calls.empty()) {
    ++generation;
    unused = std::move(timer);
  }
  // Deleting it waits for its thread, which may want the lock for its last, empty tick.
  lock.unlock();
}

void IdleTimer::tick(std::uint64_t timerGeneration) {
  std::uint64_t end = 0;
  {
    const std::lock_guard guard(mutex);
    end = nextSerial;  // clients added during the tick wait for the next one
  }
  std::uint64_t last = 0;
  while (const auto registration = beginCall(timerGeneration, last, end)) {
    last = registration->serial;
    callClient(*registration);
    endCall(last);
  }
}

void IdleTimer::callClient(const Registration& registration) {
  try {
    registration.client->onIdle();
    // Its own `onIdle` may have removed, and deleted, the client.
    if (isRegistered(registration.serial)) registration.client->onEditorIdle();
  } catch (...) {
    // No caller could handle it, and the other clients must have their turn.
  }
}

std::optional<IdleTimer::Registration> IdleTimer::beginCall(std::uint64_t timerGeneration,
                                                            std::uint64_t after,
                                                            std::uint64_t before) {
  const std::lock_guard guard(mutex);
  if (timerGeneration != generation) return std::nullopt;
  const auto next = std::ranges::upper_bound(registrations, after, {}, &Registration::serial);
  if (next == registrations.end() || next->serial >= before) return std::nullopt;
  calls.push_back({next->serial, std::this_thread::get_id()});
  return *next;
}

void IdleTimer::endCall(std::uint64_t serial) {
  {
    const std::lock_guard guard(mutex);
    // The latest of that serial on this thread: an outer call of the same client may still be open.
    const auto own = std::this_thread::get_id();
    const auto found = std::find_if(calls.rbegin(), calls.rend(), [&](const Call& call) {
      return call.serial == serial && call.thread == own;
    });
    calls.erase(std::next(found).base());
  }
  callEnded.notify_all();
}

bool IdleTimer::isRegistered(std::uint64_t serial) {
  const std::lock_guard guard(mutex);
  return std::ranges::binary_search(registrations, serial, {}, &Registration::serial);
}
