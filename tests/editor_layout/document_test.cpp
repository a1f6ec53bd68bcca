#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>

#include "editing/parameter_ids.h"
#include "editor/layout/layout_tree.h"
#include "editor/layout/tag_table.h"
#include "platform/resources.h"
#include "tests/editor_layout/plain_views.h"

namespace {

TEST(TagTable, HoldsParametersAndCommandsInOneOrder) {
  const std::tuple<const char*, int, int> tags[] = {
      {"kOpTrim", kOpTrim, 1},
      {"kB8SCHFType", 409, 409},
      {"kABBank", kABBank, 421},
      {"kGUIEQGraph", kGUIEQGraph, 500},
      {"kGUIBox1", kGUIBox1, 526},
      {"kGUIHistory", kGUIHistory, 583},
      {"kGUIShiftSelect", kGUIShiftSelect, 602},
      {"kGUISelectedBand", kGUISelectedBand, 700},
      {"kGUIBandShowSlope2", kGUIBandShowSlope2, 770},
  };
  for (const auto& [name, constant, number] : tags) {
    EXPECT_EQ(tagTable().find(name), number);
    EXPECT_EQ(constant, number) << name;
    EXPECT_EQ(tagTable().nameOf(number), name);
  }
  EXPECT_EQ(tagTable().find("kNumPrograms"), 1);
  EXPECT_EQ(tagTable().find("kGUIbox1"), -1);
  EXPECT_EQ(tagTable().nameOf(603), "");
  EXPECT_EQ(tagTable().nameOf(701), "");
}

/// Every view of the document with its place in the whole of it.
class Document : public testing::Test {
 protected:
  Document() {
    createViews(tree.root().child, PlainViews::asHolder(&made.frame), made);
    EXPECT_STREQ(tree.root().name, "ui");
    EXPECT_STREQ(tree.error(), "");
  }

  static std::string text(const PlainViews::View& view, const char* name) {
    const char* const found = getAttributeText(view.element.attributes, name);
    return found ? found : "";
  }

  LayoutTree tree{findResource("xml", "ui")};
  PlainViews made;
};

TEST_F(Document, HasReturnsAtItsLineEnds) {
  const std::string_view bytes = findResource("xml", "ui");
  EXPECT_EQ(std::ranges::count(bytes, '\n'), 78);
  for (std::size_t i = 1; i < bytes.size(); ++i) {
    ASSERT_EQ(bytes[i] == '\n', bytes[i - 1] == '\r') << i;
  }
}

TEST_F(Document, HoldsEachElementAndTag) {
  std::map<std::string, int> counts;
  std::set<std::string> unknown;
  for (const PlainViews::View& view : made.views) {
    ++counts[view.element.name];
    const std::string tag = text(view, "tag");
    if (!tag.empty() && view.element.tag < 0) unknown.insert(tag);
    EXPECT_FALSE(view.element.rect.isEmpty()) << view.element.name;
  }
  EXPECT_EQ(made.views.size(), 63U);
  EXPECT_EQ(counts.size(), 39U);
  EXPECT_EQ(counts["nPage"], 7);
  EXPECT_EQ(unknown, (std::set<std::string>{"kGUIMeterA", "kGUITooltips"}));
}

// Edges added up by hand from the numbers of the document.
TEST_F(Document, PlacesEachElementByTheOneBeforeIt) {
  const std::tuple<const char*, int, CRect> places[] = {
      {"selectorTab", kGUIShowSidechain, {14, 621, 175, 654}},
      {"selectorTab", kGUIShowAdvanced, {639, 621, 800, 654}},
      {"CTextValueButtonD", kWetDry, {15, 102, 75, 122}},
      {"roundedFrameBlue", -1, {15, 599, 176, 629}},
      {"CTTPresetMenu2", kGUIPresetMenu, {35, 4, 243, 22}},
      {"nTTKickButton", kGUIPresetNext, {245, 4, 260, 22}},
      {"tiledButton", kListen, {53, 0, 93, 25}},
      {"CopyToMenu", kGUICopyTo, {172, 0, 231, 25}},
      {"tiledButton", kBypass, {280, 0, 307, 25}},
      {"ControlMenu", kOversample, {10, 25, 210, 47}},
      {"ControlMenu", kExtendedRatios, {10, 163, 210, 185}},
  };
  for (const auto& [name, tag, rect] : places) {
    int found = 0;
    for (const PlainViews::View& view : made.views) {
      if (std::string(view.element.name) != name || view.element.tag != tag) continue;
      EXPECT_EQ(view.element.rect, rect)
          << name << ' ' << view.element.rect.left << ' ' << view.element.rect.top;
      ++found;
    }
    EXPECT_EQ(found, 1) << name;
  }
}

TEST_F(Document, CarriesTextsAndIcons) {
  std::map<std::int32_t, std::string> texts;
  for (const PlainViews::View& view : made.views) {
    texts[view.element.tag] += text(view, "str") + text(view, "txt") + text(view, "label");
  }
  EXPECT_EQ(texts[kGUIPresetPrev], "\u1e01");
  EXPECT_EQ(texts[kGUILoad], "\uf114");
  EXPECT_EQ(texts[kGUIRedo], "\uf01e");
  EXPECT_EQ(texts[kGUICopyTo], R"(A\nB\nC\nD\nE\nF\nG\nH)");
  EXPECT_EQ(texts[kIpTrim], "IN TRIM");
}

}  // namespace
