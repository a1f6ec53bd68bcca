#include "editor/band_panel.h"

#include <cxxabi.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "editor/controls/control_block.h"
#include "editor/controls/rounded_frame.h"
#include "editor/layout/tag_table.h"
#include "editor/plain_element.h"
#include "graphs/dynamic_response.h"
#include "graphs/sc_eq_graph.h"
#include "tests/editor/shown_editor.h"

namespace {

std::string classOf(const CView& view) {
  const auto* const plain = dynamic_cast<const PlainElement*>(&view);
  if (plain != nullptr) return plain->getClassName();
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(typeid(view).name(), nullptr, nullptr, &status), &std::free);
  return name.get();
}

std::int32_t tagOf(const CView& view) {
  if (const auto* const control = dynamic_cast<const CControl*>(&view)) return control->getTag();
  if (const auto* const block = dynamic_cast<const ValueBlock*>(&view)) return block->getTag();
  const auto* const page = dynamic_cast<const nPage*>(&view);
  return page != nullptr ? page->getControlTag() : -1;
}

/// The tag that the first band has in the place of another band's.
std::int32_t inFirstBand(std::int32_t tag, int band) {
  if (isBandParameter(tag)) return tag - kBandRows * band;
  return tag >= kGUIBandPPM ? tag - band : tag;
}

/// One without a tag.
bool isPicture(const CView& view) {
  return dynamic_cast<const PlainElement*>(&view) != nullptr ||
         dynamic_cast<const DynamicResponse*>(&view) != nullptr ||
         dynamic_cast<const EQGraphBase*>(&view) != nullptr;
}

void list(CViewContainer& container, CPoint origin, int band, std::vector<std::string>& lines) {
  for (std::size_t i = 0; i < container.getViewCount(); ++i) {
    CView& view = *container.getView(i);
    const std::int32_t tag = inFirstBand(tagOf(view), band);
    if (tag >= 0 || isPicture(view)) {
      const auto* const page = dynamic_cast<const nPage*>(&view);
      const CRect place = view.getViewSize().movedBy(origin);
      std::ostringstream line;
      line << classOf(view) << " " << (tag >= 0 ? tagTable().nameOf(tag) : "-") << " "
           << (page != nullptr ? std::to_string(page->getPageNumber()) : "-") << " " << place.left
           << " " << place.top << " " << place.right << " " << place.bottom;
      lines.push_back(line.str());
    }
    if (dynamic_cast<const ValueBlock*>(&view) != nullptr) continue;
    if (auto* const inner = dynamic_cast<CViewContainer*>(&view)) {
      list(*inner, origin + view.getViewSize().topLeft(), band, lines);
    }
  }
}

/// An editor whose panel has been told the mode.
struct ShownPanel : Shown {
  explicit ShownPanel(int mode = 0) : Shown(mode), panel(editor->index()) { panel.setMode(mode); }

  [[nodiscard]] CViewContainer& pageOf(int band) const {
    auto* const face = dynamic_cast<iControlWrapper*>(editor->index().find(kGUIBox7, band));
    return dynamic_cast<CViewContainer&>(face->wrapped().asView());
  }
  [[nodiscard]] roundEdgedFrame& frameOf(int band) const {
    return dynamic_cast<roundEdgedFrame&>(*pageOf(band).getParentView());
  }
  void set(std::int32_t id, float plain) {
    plug.setParameter(id, plug.plainToNormalised(id, plain));
    panel.showStates(*editor);
  }

  BandPanel panel;
};

TEST(BandPanel, EveryControlHasItsPlaceAndTag) {
  std::vector<std::string> expected;
  std::ifstream file(TEST_DATA "/band_panel.txt");
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.front() != '#') expected.push_back(line);
  }
  ASSERT_EQ(expected.size(), 44U);
  const ShownPanel shown;
  for (const int band : {0, 3, 7}) {
    SCOPED_TRACE(band);
    std::vector<std::string> lines;
    list(shown.pageOf(band), {}, band, lines);
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(shown.frameOf(band).getPageNumber(), band);
  }
}

TEST(BandPanel, ColumnsAreThereByMode) {
  using Side = roundEdgedFrame::Column::Side;
  for (const auto& [mode, side, tint] :
       {std::tuple{0, Side::kNone, "none"}, {1, Side::kLeft, "left"}, {2, Side::kRight, "right"}}) {
    SCOPED_TRACE(tint);
    const ShownPanel shown(mode);
    const auto isThere = [&](std::int32_t tag) {
      return shown.editor->index().find(tag)->isShown();
    };
    EXPECT_EQ(isThere(kB1SCTrim), mode == 1);
    EXPECT_EQ(isThere(kB1SCSrc), mode == 1);
    EXPECT_EQ(isThere(kB1Shape), mode == 2);
    EXPECT_TRUE(isThere(kB1Crest));
    EXPECT_EQ(shown.frameOf(0).getColumn().side, side);
    EXPECT_EQ(shown.frameOf(0).getViewSize().width(), mode == 0 ? 641.0F : 786.0F);
  }
}

template <typename View>
View* findIn(CViewContainer& container) {
  for (std::size_t i = 0; i < container.getViewCount(); ++i) {
    CView& view = *container.getView(i);
    if (auto* const found = dynamic_cast<View*>(&view)) return found;
    auto* const inner = dynamic_cast<CViewContainer*>(&view);
    if (inner == nullptr) continue;
    if (View* const found = findIn<View>(*inner)) return found;
  }
  return nullptr;
}

TEST(BandPanel, SmallGraphsAskForADrawingWhereTheyWouldShowSomethingElse) {
  ShownPanel shown;
  auto& response = *findIn<DynamicResponse>(shown.pageOf(0));
  auto& filters = *findIn<SCEQGraph>(shown.pageOf(0));
  const auto draws = [&](const CControl& graph) {
    shown.idle();
    const bool isAsked = graph.isDirty();
    EXPECT_NE(shown.editor->shownFrame()->picture(), nullptr);
    shown.idle();
    EXPECT_FALSE(graph.isDirty());
    return isAsked;
  };
  for (const bool showsResponse : {true, false}) {
    SCOPED_TRACE(showsResponse);
    shown.change(kGUIBandGraph, showsResponse ? 1.0F : 0.0F);
    const CControl& graph =
        showsResponse ? static_cast<CControl&>(response) : static_cast<CControl&>(filters);
    EXPECT_EQ(response.isShown(), showsResponse);
    EXPECT_EQ(filters.isShown(), !showsResponse);
    draws(graph);
    for (const auto& [row, plain, isOfResponse] : {std::tuple{kB1Threshold, -30.0F, true},
                                                   {kB1Knee, 50.0F, true},
                                                   {kB1Attack, 30.0F, false},
                                                   {kB1SCLF, 1.0F, false},
                                                   {kB1SCMFQ, 3.0F, false}}) {
      SCOPED_TRACE(row);
      const bool isOfFilters = row == kB1SCLF;
      shown.set(row, showsResponse ? plain : plain * 0.5F);
      EXPECT_EQ(draws(graph), showsResponse ? isOfResponse : isOfFilters);
    }
  }
}

TEST(BandPanel, BandsThatDoNotRunShowIt) {
  ShownPanel shown;
  const auto disabled = [&](std::int32_t tag, int which = 0) {
    CControl* const control = shown.editor->index().find(tag, which);
    return dynamic_cast<ControlMarks&>(*control).marks().isDisabled;
  };
  for (const auto& [active, bypassed] : {std::pair{1, 0}, {1, 1}, {0, 0}}) {
    SCOPED_TRACE(testing::Message() << active << bypassed);
    shown.set(bandParameterId(1, kB1State), static_cast<float>(active));
    shown.set(bandParameterId(1, kB1Bypass), static_cast<float>(bypassed));
    EXPECT_EQ(shown.frameOf(1).getTopEdge().alpha != 0, active == 1 && bypassed == 0);
    for (const std::int32_t row : {kB1Threshold, kB1Slope, kB1Slope2, kB1LR, kB1Q, kB1SCSrc}) {
      EXPECT_EQ(disabled(bandParameterId(1, row)), active == 0) << row;
    }
    EXPECT_FALSE(disabled(kGUIBandGraph, 2)) << "what is after its pages: the words";
  }
}

TEST(BandPanel, SlopesAndQAreShownWhereTheyAct) {
  ShownPanel shown;
  shown.set(bandParameterId(1, kB1State), 1);
  shown.set(bandParameterId(1, kB1Frequency), 5000);
  const auto pages = [&](int band) { return BandKindPages::of(shown.plug.getBandFlags(band)); };
  EXPECT_EQ(pages(0), (BandKindPages{1, 0, 0})) << "a crossover band below another";
  EXPECT_EQ(pages(1), (BandKindPages{0, 0, 0})) << "the highest";
  const BandKindPages kinds[] = {{1, 0, 1}, {1, 1, 1}, {0, 0, 1}, {1, 0, 0},
                                 {1, 0, 0}, {1, 0, 0}, {1, 0, 0}, {0, 0, 0}};
  shown.set(bandParameterId(1, kB1Type), 1);
  for (int kind = 0; kind < 8; ++kind) {
    shown.set(bandParameterId(1, kB1SubType), static_cast<float>(kind));
    EXPECT_EQ(pages(1), kinds[kind]) << kind;
  }
}

}  // namespace
