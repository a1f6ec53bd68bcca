#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iomanip>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/data_rows.h"

/// Reads tables of calls: a row names one of the commands, which must say what stands behind "->".
class Script : public testing::Test {
 protected:
  /// CORVANTHELIS_REMAKE_TABLES in the environment takes what is said for right and writes it down.
  void run(const std::string& path) {
    const bool remakes = std::getenv("CORVANTHELIS_REMAKE_TABLES") != nullptr;
    std::vector<std::string> texts;
    for (const DataRow& next : dataRows(path)) {
      row = next;
      said.clear();
      commands.at(row[0])();
      afterRow();
      texts.push_back(said);
      if (remakes) continue;
      ASSERT_EQ(said, row.back()) << "row " << texts.size() << ": " << row[0] << ", " << row[1];
    }
    if (remakes) remakeRows(path, texts);
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
