#pragma once

class EditedParameters;

// The graphs address what they draw by nodes: 0..7 bands, 8..14 crossover points, from 15 the three
// sidechain filters of each band. Threads: control threads.

/// The parameter of a `kind` (0..8) that a node has; -1 for none.
[[nodiscard]] int nodeParameter(EditedParameters& parameters, int kind, int node);
/// Its plain value, or what stands for a kind that is no parameter; 0 for none.
[[nodiscard]] float nodeValue(EditedParameters& parameters, int kind, int node);
/// What draws and edits a node, as bits; `flags` are those of a crossover point to begin with.
[[nodiscard]] int nodeFlags(EditedParameters& parameters, int node, int flags);
