#pragma once

#include <cstdint>

class EditedParameters;
struct EditorState;

/// The preference "A/B Toggle": what toggling the bank does.
enum class AbToggleMode : int {
  kLastTwo = 0,    ///< switches between the present bank and the one before
  kVisited = 1,    ///< cycles through the banks visited so far
  kMidiLearn = 2,  ///< nothing: the gesture opens a menu instead
};

/// Chooses among banks A to H as the editor's menus do. Switching is one undo step. Banks are 0..7;
/// others are ignored. Threads: message thread.
class BankSelector {
 public:
  BankSelector(EditedParameters& edited, EditorState& shown) noexcept
      : parameters(edited), editor(shown) {}

  /// Makes a bank live. If the band shown is inactive in it, shows and selects the first active
  /// band alone, and returns true.
  bool choose(std::int32_t bank);
  void toggle(AbToggleMode mode);
  /// Overwrites a bank with the present values; the live one stays.
  void copyTo(std::int32_t bank);

 private:
  void apply(std::int32_t bank);
  [[nodiscard]] std::int32_t nextVisited();
  [[nodiscard]] bool showActiveBand();
  [[nodiscard]] bool isActive(int band) const;

  EditedParameters& parameters;
  EditorState& editor;
};
