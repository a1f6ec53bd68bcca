#pragma once

#include <chrono>
#include <cstdio>
#include <future>
#include <string>

/// What a command of the shell writes; `pump` is called for as long as it runs, so that windows
/// answer it.
template <typename Pump>
[[nodiscard]] std::string shellSays(const std::string& command, const Pump& pump) {
  auto told = std::async(std::launch::async, [&command] {
    std::string text;
    FILE* const output = popen(command.c_str(), "r");
    for (int letter = 0; (letter = std::fgetc(output)) != EOF;) text += static_cast<char>(letter);
    pclose(output);
    return text;
  });
  while (told.wait_for(std::chrono::milliseconds(2)) != std::future_status::ready) pump();
  return told.get();
}
