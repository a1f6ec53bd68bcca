#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>
#include <string>
#include <vector>

inline std::string numbersText(const std::vector<double>& values) {
  std::ostringstream text;
  text << std::setprecision(11);
  for (const double value : values) text << ' ' << value;
  return text.str();
}

/// Whether `values` are those of a text, each to a share of its size, or to `least`.
inline void expectNumbers(const std::string& text, const std::vector<double>& values, double share,
                          double least) {
  std::istringstream known(text);
  for (std::size_t i = 0; i < values.size(); ++i) {
    double number = NAN;
    known >> number;
    EXPECT_NEAR(values[i], number, share * std::abs(number) + least) << "number " << i;
  }
  EXPECT_TRUE((known >> std::ws).eof()) << "more numbers are known than" << numbersText(values);
}

/// Numbers that were recorded when they were known to be right: a line per case of its name, ":"
/// and the numbers, below the lines that begin with "#". CORVANTHELIS_REMAKE_NUMBERS in the
/// environment makes the file anew.
class KnownNumbers {
 public:
  explicit KnownNumbers(const std::string& itsPath) : path(itsPath) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
      const std::size_t colon = line.find(':');
      if (line.starts_with('#')) {
        made << line << '\n';
      } else {
        numbers[line.substr(0, colon)] = line.substr(colon + 1);
      }
    }
  }
  ~KnownNumbers() {
    if (remakes) std::ofstream(path) << made.str();
    EXPECT_TRUE(remakes || numbers.empty()) << path << " has cases that no test shows any more";
  }
  KnownNumbers(const KnownNumbers&) = delete;
  KnownNumbers& operator=(const KnownNumbers&) = delete;

  /// The numbers of a case, each to a share of its size, or to `least`.
  void expect(const std::string& name, const std::vector<double>& values, double share = 1e-9,
              double least = 1e-12) {
    made << name << ':' << numbersText(values) << '\n';
    if (remakes) return;
    SCOPED_TRACE(name + " of " + path);
    ASSERT_EQ(numbers.count(name), 1U);
    expectNumbers(numbers.extract(name).mapped(), values, share, least);
  }

 private:
  const bool remakes = std::getenv("CORVANTHELIS_REMAKE_NUMBERS") != nullptr;
  std::string path;
  std::map<std::string, std::string> numbers;
  std::ostringstream made;
};
