#pragma once

#include "apps/state/state_document.h"

// Values of stored documents as people write them: texts as for `readPlain`, read by the other
// values of the same program, bank or band.

/// Reads a file as `readStateDocument` and replaces texts by the numbers that they stand for.
/// Values out of range are clamped, with a sentence in `textFaults`; what is no value of its
/// parameter stays. Throws as that and as `printedText`.
[[nodiscard]] StateDocument readDocument(const std::string& path);

/// Replaces numbers by the texts with which they are shown, for printing.
void showValueTexts(StateDocument& document);
