#include <gtest/gtest.h>

#include <memory>

#include "core/plug.h"
#include "editor/layout/tag_table.h"
#include "editor/plug_ed.h"

namespace {

/// An effect with its editor, off the screen.
struct Shown {
  explicit Shown(int mode, double zoom = 1.0)
      : plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached(),
             [this](Plug& effect) {
               auto made = std::make_unique<PlugEd>(effect);
               editor = made.get();
               return made;
             }) {
    plug.editorState().wantedUimode = mode;
    plug.editorState().zoom = zoom;
    plug.editorState().freeWidth = static_cast<int>(zoom * EditorState::widthOf(mode));
    editor->showBy({false, [] { return std::uint64_t{0}; }});
    EXPECT_TRUE(editor->openOffScreen(1.0F));
  }

  [[nodiscard]] CRect place(std::int32_t tag, int which) const {
    const CControl* const control = editor->index().find(tag, which);
    return control != nullptr ? control->getViewSize() : CRect{-1, -1, -1, -1};
  }

  PlugEd* editor = nullptr;
  Plug plug;
};

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

TEST(Surface, TheWindowFollowsModeAndZoom) {
  for (const auto& [mode, zoom, right, bottom] :
       {std::tuple{0, 1.0, 844, 698}, {1, 1.5, 1483, 1047}, {2, 2.0, 1978, 1396}}) {
    SCOPED_TRACE(testing::Message() << mode << " " << zoom);
    const Shown shown(mode, zoom);
    ERect* rect = nullptr;
    ASSERT_TRUE(shown.editor->getRect(&rect));
    EXPECT_EQ(rect->right, right);
    EXPECT_EQ(rect->bottom, bottom);
  }
}

// Falls to none as the controls are built.
TEST(Surface, ElementsThatOnlyShowWhereTheyAre) {
  EXPECT_EQ(ElementFactory::plainElements().size(), 23U);
}

}  // namespace
