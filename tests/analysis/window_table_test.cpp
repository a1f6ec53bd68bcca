#include "analysis/window_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

TEST(WindowTable, IsAPeriodicKaiserWindowOfTheAskedLength) {
  WindowTable window(12.0F);
  for (const int n : {1024, 2048, 1024, 8192}) {
    std::vector<double> data(static_cast<std::size_t>(n), 2.0);
    window.applyWindow(data.data(), n);
    const auto half = static_cast<std::size_t>(n / 2);
    EXPECT_EQ(data[half], 2.0) << n;
    EXPECT_EQ(std::max_element(data.begin(), data.end()) - data.begin(), n / 2);
    for (std::size_t i = 0; i < data.size(); ++i) {
      const double u = 2.0 * static_cast<double>(i) / n - 1.0;
      // The polynomials are good to 2e-7 of the function.
      const double exact =
          std::cyl_bessel_i(0.0, 12.0 * std::sqrt(1.0 - u * u)) / std::cyl_bessel_i(0.0, 12.0);
      ASSERT_NEAR(data[i] / 2.0, exact, 4e-7) << n << ", " << i;
    }
  }
  window.applyWindow(nullptr, 16);
}

TEST(WindowTable, BesselFunctionOnBothSidesOfItsBranch) {
  for (const double x : {0.0, 0.5, 1.0, 3.0, 3.74999, 3.75, 3.76, 8.0, 12.0, 15.0}) {
    const double exact = std::cyl_bessel_i(0.0, x);
    EXPECT_NEAR(besselI0(x) / exact, 1.0, 3e-7) << x;
    EXPECT_EQ(besselI0(-x), besselI0(x));
  }
}

}  // namespace
