#include <gtest/gtest.h>

#include <algorithm>

#include "editor/controls/pages.h"
#include "editor/controls/tool_tips.h"
#include "editor/layout/tag_table.h"
#include "editor/own_elements.h"
#include "editor/stock_elements.h"
#include "editor/value_elements.h"
#include "tests/editor/shown_editor.h"

namespace {

TEST(Surface, ItsPartsLieWhereTheModeHasThem) {
  struct Row {
    int mode;
    std::int32_t tag;
    int which;
    CRect place;
  };
  const Row rows[] = {
      {0, kGUIBox3, 0, {0, 0, 844, 698}},
      {1, kGUIBox3, 0, {0, 0, 989, 698}},
      {0, kBypass, 0, {0, 25, 844, 670}},
      {0, kGUISetup, 1, {0, 25, 844, 670}},
      {0, kGUIBox2, 0, {537, 0, 844, 25}},
      {2, kGUIBox2, 0, {682, 0, 989, 25}},
      {0, kGUIBox1, 0, {0, 0, 537, 25}},
      {0, kGUIPresetBox, 0, {281, 25, 563, 79}},
      {0, kGUIResize, 0, {826, 680, 844, 698}},
      {2, kGUIDisableTooltips, 0, {958, 674, 974, 691}},
      {0, kGUIBox4, 0, {654, 25, 844, 698}},
      {2, kGUIShowAdvanced, 0, {639, 621, 800, 654}},
      {0, kGUIShowAdvanced, 0, {494, 621, 655, 654}},
      {0, kGUISelectedBand, 8, {14, 396, 800, 452}},  // the tabs, after eight panels
      {0, -1, 0, {14, 39, 655, 418}},                 // the graph
      {1, -1, 0, {14, 39, 800, 418}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << "tag " << row.tag << " in mode " << row.mode);
    const Shown shown(row.mode);
    EXPECT_EQ(shown.place(row.tag, row.which).left, row.place.left);
    EXPECT_EQ(shown.place(row.tag, row.which).top, row.place.top);
    EXPECT_EQ(shown.place(row.tag, row.which).right, row.place.right);
    EXPECT_EQ(shown.place(row.tag, row.which).bottom, row.place.bottom);
  }
}

TEST(Surface, ThePagesMeetTheMouseWhereTheyLie) {
  const Shown shown(2);
  for (int i = 0; i < shown.editor->index().getControlCount(); ++i) {
    const auto* const help = dynamic_cast<nToolTips*>(shown.editor->index().getControl(i));
    if (help == nullptr) continue;
    EXPECT_EQ(help->getViewSize(), (CRect{0, 670, 989, 698}));
  }
  for (const std::int32_t tag : {kGUIBox2, kGUIBox3, kGUIBox4, kGUIPresetBox}) {
    auto* const wrapper = dynamic_cast<iControlWrapper*>(shown.editor->index().find(tag));
    ASSERT_NE(wrapper, nullptr) << tag;
    const CView& page = wrapper->wrapped().asView();
    EXPECT_EQ(page.getMouseableArea(), page.getViewSize()) << tag;
  }
}

TEST(Surface, TheWindowFollowsModeAndZoom) {
  for (const auto& [mode, zoom, right, bottom] : {std::tuple{0, 1.0, 844, 698},
                                                  {1, 1.5, 1483, 1047},
                                                  {2, 2.0, 1978, 1396},
                                                  {0, 1004 / 844.0, 1004, 830}}) {
    SCOPED_TRACE(testing::Message() << mode << " " << zoom);
    const Shown shown(mode, zoom);
    ERect* rect = nullptr;
    ASSERT_TRUE(shown.editor->getRect(&rect));
    EXPECT_EQ(rect->right, right);
    EXPECT_EQ(rect->bottom, bottom);
  }
}

TEST(Surface, NoElementOnlyShowsWhereItIs) {
  for (const auto rows : {stockElements(), valueElements(), ownElements()}) {
    EXPECT_EQ(std::ranges::count(rows, nullptr, &ElementRow::make), 0);
  }
}

}  // namespace
