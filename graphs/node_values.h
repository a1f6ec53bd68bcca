#pragma once

/// The kinds of a node's values and the bits of its flags; see `editing/graph_nodes.h`.
namespace node_values {

enum Kind : int { kEnable = 0, kGain = 4, kFrequency = 5, kQ = 6, kSlope2 = 7, kSlope = 8 };
enum Flag : int { kHasQ = 4, kHasSlope2 = 8, kHasSlope = 16, kIsCrossover = 32 };

}  // namespace node_values
