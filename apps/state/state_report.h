#pragma once

#include <optional>
#include <string>

#include "apps/state/state_document.h"

/// Describes a document and its contents, as aligned lines for people.
[[nodiscard]] std::string stateReport(const StateDocument& document);

/// A line "ID: A B unit" with plain values for each parameter that differs, then their number.
/// Compares program 1, or bank 0..7. A band file can only be compared with another one. Throws
/// `Failure` if the documents cannot be compared.
[[nodiscard]] std::string stateDifference(const StateDocument& a, const StateDocument& b,
                                          std::optional<int> bank);
