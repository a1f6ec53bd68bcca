#pragma once

#include <cstdint>

class EditedParameters;
struct EditorState;

/// What toggling the bank does: the preference "A/B Toggle".
enum class AbToggleMode : int {
  kLastTwo = 0,    ///< between the present bank and the one before
  kVisited = 1,    ///< to the next bank that was seen, around
  kMidiLearn = 2,  ///< nothing: the gesture opens a menu
};

/// Choosing among the banks A to H as the editor's menus do, each a step of the history.
/// Banks are 0..7; others are ignored. Threads: message thread.
class BankSelector {
 public:
  BankSelector(EditedParameters& edited, EditorState& shown) noexcept
      : parameters(edited), editor(shown) {}

  /// Makes a bank live. Where the band shown is inactive in it, the first active one is shown and
  /// selected alone; returns whether that was so.
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
