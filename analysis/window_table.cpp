#include "analysis/window_table.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <mutex>
#include <utility>

namespace {

/// Evaluates a polynomial; lowest coefficient first.
template <std::size_t count>
double polynomial(const std::array<double, count>& coefficients, double x) noexcept {
  double sum = 0.0;
  for (std::size_t i = count; i > 0; --i) sum = sum * x + coefficients[i - 1];
  return sum;
}

std::vector<double> kaiserWindow(double beta, int n) {
  std::vector<double> table(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double u = 2.0 * i / n - 1.0;
    table[static_cast<std::size_t>(i)] = besselI0(beta * std::sqrt(1.0 - u * u)) / besselI0(beta);
  }
  return table;
}

const std::vector<double>& sharedTable(float beta, int n) {
  static std::mutex making;
  static std::map<std::pair<float, int>, const std::vector<double>> made;
  const std::lock_guard guard(making);
  const auto found = made.find({beta, n});
  if (found != made.end()) return found->second;
  return made.emplace(std::pair(beta, n), kaiserWindow(static_cast<double>(beta), n)).first->second;
}

}  // namespace

// M. Abramowitz, I. Stegun, Handbook of Mathematical Functions, 1964: 9.8.1 and 9.8.2.
double besselI0(double x) noexcept {
  constexpr double kBranch = 3.75;
  const double size = std::abs(x);
  if (size < kBranch) {
    constexpr std::array<double, 7> kBelow = {1.0,       3.5156229, 3.0899424, 1.2067492,
                                              0.2659732, 0.0360768, 0.0045813};
    const double t = x / kBranch;
    return polynomial(kBelow, t * t);
  }
  constexpr std::array<double, 9> kAbove = {0.39894228,  0.01328592,  0.00225319,
                                            -0.00157565, 0.00916281,  -0.02057706,
                                            0.02635537,  -0.01647633, 0.00392377};
  return std::exp(size) / std::sqrt(size) * polynomial(kAbove, kBranch / size);
}

void WindowTable::applyWindow(double* data, int n) {
  if (data == nullptr || n <= 0) return;
  if (table == nullptr || table->size() != static_cast<std::size_t>(n)) {
    table = &sharedTable(parameter, n);
  }
  for (std::size_t i = 0; i < table->size(); ++i) data[i] *= (*table)[i];
}
