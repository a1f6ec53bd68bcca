#include "apps/output/progress_bar.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

#include "apps/output/text.h"
#include "platform/clock.h"
#include "platform/terminal.h"

namespace {

constexpr std::int64_t kDrawIntervalMs = 100;

std::string clockText(std::int64_t milliseconds) {
  const std::int64_t seconds = (milliseconds + 999) / 1000;
  const std::string text = durationText(static_cast<double>(seconds));
  return text.substr(0, text.find('.'));
}

}  // namespace

std::string progressLine(std::int64_t done, std::int64_t total, std::int64_t elapsedMs,
                         int columns) {
  std::string tail = " " + clockText(elapsedMs);
  double share = 0.0;
  if (total > 0) {
    share = std::clamp(static_cast<double>(done) / static_cast<double>(total), 0.0, 1.0);
    tail = " " + paddedLeft(std::to_string(static_cast<int>(share * 100.0)), 3) + " %";
    // Too early to estimate the rest.
    if (share > 0.001) {
      const double left = static_cast<double>(elapsedMs) * (1.0 - share) / share;
      tail += "  " + clockText(static_cast<std::int64_t>(left)) + " left";
    }
  }
  constexpr int kTailRoom = 24;
  constexpr int kWidestBar = 50;
  const int width = std::min(columns - kTailRoom - 3, kWidestBar);
  if (width < 5) return tail.substr(1, static_cast<std::size_t>(std::max(columns - 1, 0)));
  const auto filled = static_cast<std::size_t>(share * width);
  return "[" + padded(std::string(filled, '='), static_cast<std::size_t>(width)) + "]" + tail;
}

ProgressBar::ProgressBar(bool isVisible)
    : visible(isVisible), start(monotonicMilliseconds()), nextDraw(start + kDrawIntervalMs) {}

ProgressBar::~ProgressBar() { clear(); }

void ProgressBar::advance(std::int64_t frames) {
  if (!visible) return;
  done.fetch_add(frames, std::memory_order_relaxed);
  const std::int64_t now = monotonicMilliseconds();
  std::int64_t due = nextDraw.load(std::memory_order_relaxed);
  // If several threads find that it is time, only one draws.
  if (now < due || !nextDraw.compare_exchange_strong(due, now + kDrawIntervalMs)) return;
  const std::lock_guard guard(mutex);
  draw(now);
}

void ProgressBar::printLine(const std::string& line) {
  const std::lock_guard guard(mutex);
  wipe();
  std::cerr << line + "\n" << std::flush;
}

void ProgressBar::clear() {
  const std::lock_guard guard(mutex);
  wipe();
}

void ProgressBar::draw(std::int64_t now) {
  std::cerr << "\r" +
                   progressLine(done.load(std::memory_order_relaxed),
                                total.load(std::memory_order_relaxed), now - start,
                                errorStreamColumns()) +
                   "\033[K"
            << std::flush;
  drawn = true;
}

void ProgressBar::wipe() {
  if (!drawn) return;
  std::cerr << "\r\033[K" << std::flush;
  drawn = false;
}
