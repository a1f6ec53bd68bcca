#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

/// The rows of a table in the folder data beside the tests: cells between bars, without the blanks
/// around them; empty lines and those that begin with # are passed over.
inline std::vector<std::vector<std::string>> dataRows(const std::string& name) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream file(CORE_TEST_DATA + name);
  EXPECT_TRUE(file) << name;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.front() == '#') continue;
    auto& cells = rows.emplace_back();
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
      end = line.find('|', at);
      const std::string cell = line.substr(at, end - at);
      const std::size_t from = cell.find_first_not_of(' ');
      const std::size_t last = cell.find_last_not_of(' ');
      cells.push_back(from == std::string::npos ? "" : cell.substr(from, last + 1 - from));
    }
  }
  return rows;
}
