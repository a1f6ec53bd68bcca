#pragma once

class EditedParameters;

// Graphs number the nodes that they draw: 0..7 are the bands, 8..14 the crossover points, 15..38
// the three sidechain filters of each band (low, middle, high). Threads: control threads.

/// The kinds of a node's values that have a parameter.
enum NodeKind : int {
  kNodeOn = 0,  ///< of bands bypass
  kNodeType = 2,
  kNodeShape = 3,
  kNodeGain = 4,
  kNodeFrequency = 5,
  kNodeQ = 6,
  kNodeSlope2 = 7,
  kNodeSlope = 8,
};
/// Bits of `nodeFlags`.
enum NodeFlag : int {
  kNodeHasGain = 1,
  kNodeHasQ = 4,
  kNodeHasSlope2 = 8,
  kNodeHasSlope = 16,
  kNodeIsCrossover = 32,  ///< that graphs add to those of a crossover point
};

/// The id of a node's parameter of a `NodeKind`, -1 if the node has none. Every kind of a crossover
/// point gives the slope that it sets.
[[nodiscard]] int nodeParameter(EditedParameters& parameters, int kind, int node);
/// The plain value of that parameter; 0 if the node has none. For bands, three kinds are no
/// parameters: 0 is 0 off, 1 bypassed, 2 running; 1 is the gain range (128); 2 the number of the
/// filter to draw.
[[nodiscard]] float nodeValue(EditedParameters& parameters, int kind, int node);
/// `NodeFlag`s and others that say how a node is drawn and edited. A crossover point adds its
/// bit to `flags`, which other nodes ignore. 0 if there is no such node.
[[nodiscard]] int nodeFlags(EditedParameters& parameters, int node, int flags);
