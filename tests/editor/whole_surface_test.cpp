// The whole surface under mouse and keys: every tag of it does something, and all of it is undone.

#include "tests/editor/whole_surface.h"

#include <random>

namespace {

TEST_F(WholeSurface, EveryTagDoesSomething) {
  run(TEST_DATA "/tags.txt");
  user.plug.editorState().freeWidth = EditorState::kPlainWidth;
  turnTo(0);
  for (const int mode : {1, 2}) {
    turnTo(mode);
    for (int band = 0; band < kNumBands; ++band) {
      user.plug.editorState().currentBand = band;
      activate(band, true);
      for (const int kind : {0, 2}) {
        setKind(band, kind);
        turnTo(mode);
        before = values();
        moveAllShown();
      }
      activate(band, false);
      turnTo(mode);
      before = values();
      moveAllShown();
    }
  }
  for (const int page : {0, 1, 2, 3}) {
    user.editor->openSetup(page);
    before = values();
    moveAllShown();
  }
  std::set<std::string> idle;
  for (int i = 0; i < user.editor->index().getControlCount(); ++i) {
    const std::int32_t tag = user.editor->index().getControlTag(i);
    if (tag >= 0 && !handled.contains(tagTable().find(tagName(tag)))) idle.insert(tagName(tag));
  }
  EXPECT_EQ(idle, std::set<std::string>{});
}

TEST_F(WholeSurface, EditsAreUndoneAndRedone) {
  constexpr int kEdits = 500;
  constexpr Key kKeys[] = {Key::kUp,  Key::kDown, Key::kPageUp, Key::kPageDown, Key::kHome,
                           Key::kEnd, Key::kLeft, Key::kRight,  Key::kDelete,   Key::kSpace};
  std::minstd_rand random(17);
  const auto draw = [&random](std::size_t below) { return random() % below; };
  const Values start = before;
  for (int edit = 0; edit < kEdits; ++edit) {
    if (edit % 20 == 0) {
      user.plug.editorState().currentBand = static_cast<int>(draw(kNumBands));
      turnTo(static_cast<int>(draw(3)));
    }
    std::vector<CControl*> all = shown();
    std::erase_if(
        all, [](const CControl* c) { return c->getTag() >= kNumParams || c->getTag() == kBypass; });
    CControl* const control = all[draw(all.size())];
    const CPoint at = middleOf(*control);
    const float steps = static_cast<float>(draw(7)) - 3.0F;
    const double along = static_cast<double>(draw(40)) - 20.0;
    const Key key = kKeys[draw(std::size(kKeys))];
    const std::uint32_t fine = kShift * static_cast<std::uint32_t>(draw(2));
    switch (draw(4)) {
      case 0:
        user.frame().events().wheel({at.x, at.y}, steps, fine);
        break;
      case 1:
        user.down(at.x, at.y);
        user.move(at.x + along, at.y - along);
        user.up(at.x + along, at.y - along);
        break;
      case 2:
        user.click(at.x, at.y);
        break;
      default:
        user.frame().setFocusView(control);
        user.key(key, fine);
    }
    user.wait(20);
    while (user.frame().getModalView() != nullptr) {
      user.key(Key::kDown);
      user.key(Key::kReturn);
    }
  }
  const Values end = values();
  EXPECT_NE(end, start);
  user.frame().setFocusView(nullptr);
  int undone = 0;
  for (; user.plug.canUndo(); ++undone) user.plug.undo();
  EXPECT_GT(undone, kEdits / 2);
  EXPECT_EQ(values(), start);
  while (user.plug.canRedo()) user.plug.redo();
  EXPECT_EQ(values(), end);
}

}  // namespace
