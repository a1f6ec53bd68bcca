#include "host/alerts.h"

#include <atomic>
#include <cstddef>

#include "platform/of_process.h"

namespace {

std::atomic<bool> showing{false};

/// Takes the process-wide right to show messages for a scope, if it is free.
class ShowingScope {
 public:
  ShowingScope() : taken(!showing.exchange(true)) {}
  ~ShowingScope() {
    if (taken) showing.store(false);
  }
  ShowingScope(const ShowingScope&) = delete;
  ShowingScope& operator=(const ShowingScope&) = delete;

  const bool taken;
};

}  // namespace

Alerts& Alerts::instance() {
  static OfProcess<Alerts> queues([] { return Alerts(); });
  return queues.get();
}

void Alerts::add(std::string caption, std::string message) {
  const Scope lock(*this);
  alerts.emplace_back(std::move(caption), std::move(message));
}

void Alerts::show(Dialogs& dialogs) {
  const ShowingScope scope;
  if (!scope.taken) return;
  std::size_t count = 0;
  {
    const Scope lock(*this);
    count = alerts.size();
  }
  for (std::size_t i = 0; i < count; ++i) {
    Alert alert;
    {
      const Scope lock(*this);
      alert = alerts[i];
    }
    dialogs.showWarning(alert.first, alert.second);
  }
  const Scope lock(*this);
  alerts.erase(alerts.begin(), alerts.begin() + static_cast<std::ptrdiff_t>(count));
}
