#include "apps/output/messages.h"

#include <iostream>

#include "apps/output/text.h"

std::string messageLine(std::string_view message) { return "corvanthelis: " + oneLine(message); }

std::string warningLine(std::string_view message) {
  return "corvanthelis: warning: " + oneLine(message);
}

void addCountOfMore(std::vector<std::string>& messages, std::size_t more) {
  if (more > 0) messages.push_back("and " + std::to_string(more) + " more like these");
}

void printError(std::string_view message) { std::cerr << messageLine(message) + "\n"; }

void printOutOfMemory() { std::cerr << kOutOfMemory; }

void printWarning(std::string_view message) { std::cerr << warningLine(message) + "\n"; }

void printWarnings(const std::vector<std::string>& messages) {
  for (const std::string& message : messages) printWarning(message);
}
