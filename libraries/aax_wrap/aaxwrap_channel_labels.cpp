#include "libraries/aax_wrap/aaxwrap_channel_labels.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace {

struct Label {
  const char* leftRight;
  const char* midSide;
};

constexpr std::array<Label, 9> kLabels = {{{"Left", "Mid"},
                                           {"Right", "Side"},
                                           {"Center", "Center"},
                                           {"Ls", "Mid s"},
                                           {"Rs", "Side s"},
                                           {"Lc", "Mid c"},
                                           {"Rc", "Side c"},
                                           {"Surr", "Surr"},
                                           {"LFE", "LFE"}}};
constexpr std::string_view kLetters = "LRClrxySW";  // of the labels above, in their order

// Mono, stereo, three front channels, the same with one rear channel, quad, 5.0, 5.1, 7.1.
constexpr std::array<std::string_view, 8> kFormats = {"C",    "LR",    "LCR",    "LCRS",
                                                      "LRlr", "LCRlr", "LCRlrW", "LxCyRlrW"};

}  // namespace

std::vector<ChannelLabel> aaxChannelLabels(AAX_EStemFormat format) {
  const std::int32_t number = AAX_STEM_FORMAT_INDEX(format);
  std::vector<ChannelLabel> labels;
  if (number < 1 || number > static_cast<std::int32_t>(kFormats.size())) return labels;
  for (const char letter : kFormats[static_cast<std::size_t>(number - 1)]) {
    const Label& label = kLabels[kLetters.find(letter)];
    labels.push_back({label.leftRight, label.midSide});
  }
  return labels;
}
