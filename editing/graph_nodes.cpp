#include "editing/graph_nodes.h"

#include <array>
#include <cstddef>

#include "dynamics/band_layout.h"
#include "editing/edited_parameters.h"
#include "editing/parameter_ids.h"
#include "platform/index.h"

namespace {

constexpr int kFirstPoint = 8;
constexpr int kFirstFilter = 15;
constexpr int kEndOfNodes = kFirstFilter + 3 * kNumBands;
constexpr int kKinds = 9;

/// Rows of a node's parameters by kind; -1: none.
using Rows = std::array<int, kKinds>;

constexpr Rows kBandRowsByKind = {kB1Bypass,    -1,   -1,        kB1SubType, kB1Gain,
                                  kB1Frequency, kB1Q, kB1Slope2, kB1Slope};
constexpr std::array<Rows, 3> kFilterRowsByKind = {{
    {kB1SCLF, -1, kB1SCLFType, -1, kB1SCLFG, kB1SCLFF, kB1SCLFQ, -1, kB1SCLFSlope},
    {kB1SCMF, -1, kB1SCMFType, -1, kB1SCMFG, kB1SCMFF, kB1SCMFQ, -1, -1},
    {kB1SCHF, -1, kB1SCHFType, -1, kB1SCHFG, kB1SCHFF, kB1SCHFQ, -1, kB1SCHFSlope},
}};

constexpr int rowIn(const Rows& rows, int kind, int band) {
  if (kind < 0 || kind >= kKinds) return -1;
  const int row = rows[at(kind)];
  return row == -1 ? -1 : bandParameterId(band, row);
}

/// What draws and edits a node of a band.
enum Flag : int { kBit0 = 1, kBit1 = 2, kBandShape = 4, kBandShapeB = 8, kSlope = 16 };

constexpr int kKindRunning = 0;
constexpr int kKindRange = 1;
constexpr int kKindFilter = 2;

}  // namespace

int nodeParameter(EditedParameters& parameters, int kind, int node) {
  if (node < 0 || node >= kEndOfNodes) return -1;
  if (node < kFirstPoint) return rowIn(kBandRowsByKind, kind, node);
  if (node < kFirstFilter) {
    const BandLayout::List list = parameters.layout().copyOf(parameters.layout().xover);
    const auto place = static_cast<std::size_t>(node - kFirstPoint);
    return place < list.size() ? bandParameterId(list[place], kB1Slope) : -1;
  }
  const int filter = node - kFirstFilter;
  return rowIn(kFilterRowsByKind[at(filter % 3)], kind, filter / 3);
}

float nodeValue(EditedParameters& parameters, int kind, int node) {
  if (node >= 0 && node < kFirstPoint) {
    if (kind == kKindRunning) {
      if (!parameters.isOn(bandParameterId(node, kB1State))) return 0.0F;
      return parameters.isOn(bandParameterId(node, kB1Bypass)) ? 1.0F : 2.0F;
    }
    if (kind == kKindRange) return 128.0F;
    if (kind == kKindFilter) {
      static constexpr std::array<float, 8> kFilterOfSubType = {7, 7, 7, 6, 6, 1, 1, 8};
      if (!parameters.isOn(bandParameterId(node, kB1Type))) return 3.0F;
      const float subType = parameters.getPlain(bandParameterId(node, kB1SubType));
      return kFilterOfSubType[static_cast<std::size_t>(subType)];
    }
  }
  const int index = nodeParameter(parameters, kind, node);
  return index == -1 ? 0.0F : parameters.getPlain(index);
}

int nodeFlags(EditedParameters& parameters, int node, int flags) {
  if (node < 0 || node >= kEndOfNodes) return 0;
  if (node >= kFirstFilter) {
    const int filter = node - kFirstFilter;
    const bool middle = filter % 3 == 1;
    return middle || parameters.isOn(nodeParameter(parameters, kKindFilter, node)) ? 7 : 22;
  }
  if (node >= kFirstPoint) return flags | kSlope;

  const bool dynamicEq = parameters.isOn(bandParameterId(node, kB1Type));
  const int subType = static_cast<int>(parameters.getPlain(bandParameterId(node, kB1SubType)));
  int result = kBit0 | kBit1;
  if (dynamicEq && subType < kLowPass) result |= kBandShape;
  if (dynamicEq && subType == kBandPassB) result |= kBandShapeB;
  const bool slopeless = dynamicEq && (subType == kBandPassEE || subType == kFlat);
  const BandLayout::List list = parameters.layout().copyOf(parameters.layout().xover);
  const bool topmost = !list.empty() && list.back() == node;
  if (!slopeless && !topmost) result |= kSlope;
  return result;
}
