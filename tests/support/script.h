#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <iomanip>
#include <map>
#include <sstream>
#include <string>

#include "tests/support/data_rows.h"

/// Reads tables of calls: a row names one of the commands, which must say what stands behind "->".
class Script : public testing::Test {
 protected:
  void run(const std::string& path) {
    runRows(path, [this](const DataRow& next) {
      row = next;
      said.clear();
      commands.at(row[0])();
      afterRow();
      return said;
    });
  }
  virtual void afterRow() {}
  /// The words of a row have a space between them.
  template <typename Word>
  void say(const Word& word) {
    std::ostringstream text;
    text << std::boolalpha << std::setprecision(9) << word;
    said += (said.empty() ? "" : " ") + text.str();
  }
  [[nodiscard]] int number(std::size_t cell) const { return std::stoi(row[cell]); }

  std::map<std::string, std::function<void()>> commands;
  DataRow row;
  std::string said;
};
