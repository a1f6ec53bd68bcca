#include "platform/plug_base_thread.h"

#include <chrono>

PlugBaseThread::~PlugBaseThread() {
  stop();
  // On its own thread this is reached only if `run` ends the process, so `run` never returns.
  if (handle.joinable()) handle.detach();
}

void PlugBaseThread::start() {
  if (onOwnThread()) return;
  const std::lock_guard guard(handleMutex);
  if (handle.joinable()) {
    if (!stopRequested.load()) return;
    handle.join();
  }
  stopRequested.store(false);
  handle = std::thread([this] { loop(); });
}

void PlugBaseThread::stop() {
  if (onOwnThread()) {
    requestStop();
    return;
  }
  // Set under the lock; otherwise a `start` on a third thread could clear the request unseen.
  const std::lock_guard guard(handleMutex);
  requestStop();
  if (handle.joinable()) handle.join();
}

void PlugBaseThread::requestStop() {
  {
    // Under the lock; otherwise the request could come between the sleeper's check and its sleep.
    const std::lock_guard guard(sleepMutex);
    stopRequested.store(true);
  }
  wake.notify_all();
}

void PlugBaseThread::loop() {
  runner.store(std::this_thread::get_id());
  while (!stopRequested.load()) {
    run();
    sleep();
  }
  runner.store({});
}

void PlugBaseThread::sleep() {
  const std::int32_t milliseconds = interval.load();
  if (milliseconds <= 0) return;
  std::unique_lock lock(sleepMutex);
  wake.wait_for(lock, std::chrono::milliseconds(milliseconds),
                [this] { return stopRequested.load(); });
}

bool PlugBaseThread::onOwnThread() const noexcept {
  return runner.load() == std::this_thread::get_id();
}
