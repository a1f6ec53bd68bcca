#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace data_rows {

/// The text in which each "<1f>" becomes the byte of that number.
inline std::string bytesOf(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char digits[3];
    int length = 0;
    std::sscanf(&text[i], "<%2[0-9a-f]>%n", digits, &length);
    bytes += length == 4 ? static_cast<char>(std::stoi(digits, nullptr, 16)) : text[i];
    if (length == 4) i += 3;
  }
  return bytes;
}

/// The other way round.
inline std::string cellOf(const std::string& bytes) {
  std::string cell;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    const bool isEdge = byte == ' ' && (i == 0 || i + 1 == bytes.size());
    char number[8];
    std::snprintf(number, sizeof number, "<%02x>", static_cast<unsigned>(byte));
    cell += byte < 0x20 || byte > 0x7E || isEdge ? number : std::string(1, bytes[i]);
  }
  return cell;
}

}  // namespace data_rows

using DataRow = std::vector<std::string>;

/// A line cut at "|" into cells, without the spaces around them, and, last, what stands behind
/// "->"; absent cells are empty.
inline DataRow dataRow(const std::string& line, std::size_t cells = 8) {
  const std::size_t arrow = line.rfind(" ->");
  std::istringstream parts(line.substr(0, arrow));
  DataRow row;
  for (std::string cell; std::getline(parts, cell, '|');) row.push_back(cell);
  row.resize(cells);
  row.push_back(arrow == std::string::npos ? "" : line.substr(arrow + 3));
  for (std::string& cell : row) {
    cell.erase(cell.find_last_not_of(' ') + 1);
    cell = data_rows::bytesOf(cell.erase(0, cell.find_first_not_of(' ')));
  }
  return row;
}

/// Whether the line of a table is not for its reader alone.
inline bool isDataRow(const std::string& line) { return !line.empty() && line.front() != '#'; }

/// The rows of a table beside the tests. A line that begins with "#" is for its reader.
inline std::vector<DataRow> dataRows(const std::string& path, std::size_t cells = 8) {
  std::ifstream file(path);
  std::vector<DataRow> rows;
  for (std::string line; std::getline(file, line);) {
    if (isDataRow(line)) rows.push_back(dataRow(line, cells));
  }
  EXPECT_FALSE(rows.empty()) << path;
  return rows;
}

/// Runs the rows of a table one after the other; each must show what stands behind its "->".
/// CORVANTHELIS_REMAKE_TABLES in the environment takes what is shown for right and writes it down.
template <typename Act>
void runRows(const std::string& path, const Act& act) {
  const bool remakes = std::getenv("CORVANTHELIS_REMAKE_TABLES") != nullptr;
  std::ifstream file(path);
  std::ostringstream made;
  int rows = 0;
  for (std::string line; std::getline(file, line); made << line << '\n') {
    if (!isDataRow(line)) continue;
    const DataRow row = dataRow(line);
    const std::string shown = act(row);
    ++rows;
    if (!remakes) {
      ASSERT_EQ(shown, row.back()) << "row " << rows << ": " << row[0] << ", " << row[1];
    }
    line.erase(std::min(line.rfind(" ->"), line.size()));
    if (!shown.empty()) line += " -> " + data_rows::cellOf(shown);
  }
  EXPECT_GT(rows, 0) << path;
  if (remakes) std::ofstream(path) << made.str();
}
