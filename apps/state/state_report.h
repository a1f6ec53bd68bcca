#pragma once

#include <optional>
#include <string>

#include "apps/state/state_document.h"

/// What a document is and holds, as aligned lines for people.
[[nodiscard]] std::string stateReport(const StateDocument& document);

/// A line "ID: A B unit" of plain values for each parameter that differs, then how many do. Of
/// documents program 1 is compared, or the bank 0..7; band files compare with each other alone.
/// Throws `Failure` for what does not compare.
[[nodiscard]] std::string stateDifference(const StateDocument& a, const StateDocument& b,
                                          std::optional<int> bank);
