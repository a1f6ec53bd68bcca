#include "host/alerts.h"

#include <atomic>
#include <cstddef>
#include <memory>

#include "platform/of_process.h"

namespace {

std::atomic<bool> showing{false};

}  // namespace

Alerts& Alerts::instance() {
  static OfProcess<Alerts> queues([] { return Alerts(); });
  return queues.get();
}

void Alerts::add(std::string caption, std::string message) {
  const Scope lock(*this);
  alerts.emplace_back(std::move(caption), std::move(message));
}

/// The process-wide right to show, until nobody holds it any more.
struct Alerts::Round {
  Round(Dialogs& shownBy, std::size_t count) : dialogs(shownBy), left(count) {}
  ~Round() { showing.store(false); }
  Round(const Round&) = delete;
  Round& operator=(const Round&) = delete;

  Dialogs& dialogs;
  std::size_t left;
};

void Alerts::show(Dialogs& dialogs) {
  if (showing.exchange(true)) return;
  std::size_t count = 0;
  {
    const Scope lock(*this);
    count = alerts.size();
  }
  showNext(std::make_shared<Round>(dialogs, count));
}

void Alerts::showNext(const std::shared_ptr<Round>& round) {
  if (round->left == 0) return;
  --round->left;
  Alert alert;
  {
    const Scope lock(*this);
    alert = alerts.front();
  }
  // Where a window closes, its dialogs may be gone afterwards.
  round->dialogs.showWarning(alert.first, alert.second, [this, round](bool byUser) {
    if (!byUser) return;
    {
      const Scope lock(*this);
      alerts.erase(alerts.begin());
    }
    showNext(round);
  });
}
