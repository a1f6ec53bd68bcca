#pragma once

#include <atomic>

/// What a test and a program under test share: which allocation of the program fails, alone or with
/// all behind it, and how many there have been.
struct ProgramShortage {
  int first;
  bool lasts;
  std::atomic<int> met;
};
