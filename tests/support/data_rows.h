#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace data_rows {

/// The cell without the spaces around it; "<1f>" in it stands for the byte of that number.
inline std::string bytesOf(const std::string& cell) {
  const std::size_t begin = cell.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  const auto isDigit = [&cell](std::size_t i) { return std::isxdigit(cell[i] & 0x7F) != 0; };
  std::string bytes;
  for (std::size_t i = begin; i <= cell.find_last_not_of(' '); ++i) {
    const bool isByte = cell[i] == '<' && i + 3 < cell.size() && cell[i + 3] == '>' &&
                        isDigit(i + 1) && isDigit(i + 2);
    bytes += isByte ? static_cast<char>(std::stoi(cell.substr(i + 1, 2), nullptr, 16)) : cell[i];
    if (isByte) i += 3;
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

/// The rows of a table beside the tests, cut at "|" into cells and, last, what stands behind "->";
/// absent cells are empty. A line that begins with "#" is for its reader.
inline std::vector<DataRow> dataRows(const std::string& path, std::size_t cells = 8) {
  std::ifstream file(path);
  std::vector<DataRow> rows;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.front() == '#') continue;
    const std::size_t arrow = line.rfind(" ->");
    std::istringstream parts(line.substr(0, arrow));
    DataRow& row = rows.emplace_back();
    for (std::string cell; std::getline(parts, cell, '|');) {
      row.push_back(data_rows::bytesOf(cell));
    }
    row.resize(cells);
    row.push_back(arrow == std::string::npos ? "" : data_rows::bytesOf(line.substr(arrow + 3)));
  }
  EXPECT_FALSE(rows.empty()) << path;
  return rows;
}

/// Writes the file anew, with other texts behind its "->".
inline void remakeRows(const std::string& path, const std::vector<std::string>& texts) {
  std::ifstream file(path);
  std::ostringstream made;
  auto text = texts.begin();
  for (std::string line; std::getline(file, line);) {
    const bool isRow = !line.empty() && line.front() != '#' && text != texts.end();
    made << (isRow ? line.substr(0, line.rfind(" ->")) : line);
    if (isRow && !text->empty()) made << " -> " << data_rows::cellOf(*text);
    if (isRow) ++text;
    made << '\n';
  }
  file.close();
  std::ofstream(path) << made.str();
}
