#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <thread>
#include <utility>

#include "editor/controls/action_menu.h"
#include "editor/controls/marks.h"
#include "editor/controls/pages.h"
#include "editor/layout/tag_table.h"
#include "graphs/opengl/gl_picture.h"
#include "host/alerts.h"
#include "state/machine.h"
#include "tests/editor/shown_editor.h"
#include "tests/support/test_directory.h"
#include "tests/support/x_server.h"

namespace {

TEST(Editor, IsDrawnByOpenGlUnlessTheUserSaysNo) {
  for (const char* const stored : {"", R"({"Hide Mouse":1})", R"({"OpenGL":1})"}) {
    MemoryStore store;
    store.write("globals", stored);
    Globals globals(store);
    globals.initGlobals(*stored != 0 ? R"({"Hide Mouse":{"value":0}})" : "");
    EXPECT_TRUE(prefersOpenGl(globals)) << stored;
    globals.setGlobal("OpenGL", 0);
    EXPECT_FALSE(prefersOpenGl(globals)) << stored;
  }
}

TEST(Editor, FilesThatAreDroppedLoadOrItIsToldWhyNot) {
  const TestDirectory folder;
  Shown fresh(0);
  Shown maker(0);
  maker.plug.setParameter(kIpTrim, 0.75F);
  maker.plug.setParameter(kB1Threshold, 0.25F);
  maker.plug.edits().bandFiles.saveBandFile(folder.path("good.cvb"), 0);
  maker.plug.presetFiles().savePreset(folder.path("p.CorvanthelisPreset"), "", true);
  maker.plug.presetFiles().savePreset(folder.path("b.CorvanthelisBank"), "", false);
  for (const char* const name : {"a.txt", "bad.cvb", "bad.CorvanthelisBank"}) {
    writeBytes(folder.path(name), "nothing of use");
  }
  const struct {
    DevicePoint where;
    std::vector<std::string> names;
    const char* changed;  // parameters; none where it is told why
  } rows[] = {{{300, 200}, {"a.txt", "good.cvb"}, "kB3Threshold "},
              {{14 + 641 * 6.5 / 8, 430}, {"good.cvb", "b.CorvanthelisBank"}, "kB7Threshold "},
              {{654, 447}, {"good.cvb"}, "kB8Threshold "},
              {{20, 430}, {"p.CorvanthelisPreset"}, "kIpTrim kB1Threshold "},
              {{300, 200}, {"b.CorvanthelisBank"}, "kIpTrim kB1Threshold "},
              {{300, 200}, {"a.txt"}, ""},
              {{300, 200}, {"bad.CorvanthelisBank", "good.cvb"}, ""},
              {{300, 200}, {"gone.CorvanthelisPreset"}, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.names.back());
    Shown shown(0);
    shown.plug.editorState().currentBand = 2;
    const auto changed = [&] {
      std::string names;
      for (int id = 0; id < kNumParams; ++id) {
        const bool isOther = shown.plug.getParameter(id) != fresh.plug.getParameter(id);
        if (isOther) names += fresh.plug.edits().keys().name(id) + " ";
      }
      return names;
    };
    WindowListener& window = shown.editor->shownFrame()->events();
    std::vector<std::string> paths;
    for (const std::string& name : row.names) paths.push_back(folder.path(name));
    ASSERT_TRUE(window.dropMoved(row.where));
    window.filesDropped(row.where, paths);
    shown.editor->idle();
    EXPECT_EQ(changed(), row.changed);
    EXPECT_EQ(shown.box() != nullptr, *row.changed == 0);
    EXPECT_EQ(window.dropMoved(row.where), *row.changed != 0) << "not while a box is open";
    shown.press({Key::kReturn});
    if (*row.changed != 0) shown.plug.undo();
    EXPECT_EQ(shown.box(), nullptr);
    EXPECT_EQ(changed(), "");
  }
}

TEST(Editor, MenusDoWhatIsChosen) {
  const auto kept = GlPicture::make(8, 8);  // so that leak reports can name the driver
  const XServer display;
  Shown shown(0);
  shown.editor->close();
  shown.editor->showBy({true, {}});
  ASSERT_TRUE(shown.editor->openTop("editor"));
  std::string done;
  Menu inner{"sub"};
  inner.add("x", [&] { done += "x"; });
  inner.add("y", [&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the next picture waits
    shown.editor->close();
  });
  Menu menu;
  menu.addSeparator();
  menu.add("- dash", [&] { done += "dash"; });
  menu.addChecked("b", true, nullptr);
  menu.entries.back().enabled = false;
  menu.addSubmenu(inner);
  const int id = bandParameterId(2, kB1Threshold);
  shown.plug.setParameter(id, 0.1F);
  shown.change(kGUIOpenBandMenu, 2);
  shown.press({Key::kDown, Key::kRight, Key::kReturn});
  EXPECT_EQ(shown.plug.getParameter(id), shown.plug.getParameterDefault(id));
  const auto choose = [&](std::initializer_list<Key> keys) {
    openActionMenu(*shown.editor->shownFrame(), {100, 100}, menu);
    shown.press(keys);
  };
  choose({Key::kDown, Key::kReturn});
  choose({Key::kUp, Key::kRight, Key::kReturn});
  choose({Key::kUp, Key::kRight, Key::kDown, Key::kReturn});
  EXPECT_EQ(done, "dashx");
  EXPECT_FALSE(shown.editor->isOpen());
}

TEST(Editor, TakesWithItWhatIsOpen) {
  const TestDirectory folder;
  const XServer display;
  const std::string path = std::getenv("PATH");
  ::setenv("PATH", (folder.path("") + ":" + path).c_str(), 1);
  const std::string started = folder.path("started");
  writeBytes(folder.path("zenity"), "#!/bin/sh\necho $$ >" + started + "\nexec sleep 1000\n");
  std::filesystem::permissions(folder.path("zenity"), std::filesystem::perms::owner_all);
  auto shown = std::make_unique<Shown>(0);
  EXPECT_FALSE(shown->press({Key::kSpace})) << "for the host";
  shown->editor->close();
  ASSERT_TRUE(shown->editor->openTop("editor"));
  shown->change(kGUILoad, 1);
  const CView* const chooser = shown->box();
  Alerts::instance().add("Caption", "message");
  shown->editor->idle();
  EXPECT_TRUE(chooser != nullptr && shown->box() != chooser);
  EXPECT_FALSE(shown->press({Key::kTab}));
  for (int i = 0; i < 1000 && !readBytes(started).ends_with('\n'); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  shown.reset();
  EXPECT_NE(::kill(std::stoi(readBytes(started)), 0), 0) << "not even a dead one is left";
  const Shown next(0);
  next.editor->idle();
  ASSERT_NE(next.box(), nullptr) << "told by the next one";
  EXPECT_TRUE(next.press({Key::kReturn}));
  ::setenv("PATH", path.c_str(), 1);
}

TEST(Editor, ThePresetTrayIsThereOrNot) {
  const Shown shown(0);
  CControl* const tray = shown.editor->index().find(kGUIPresetBox);
  const CView& page = dynamic_cast<iControlWrapper&>(*tray).wrapped().asView();
  EXPECT_FALSE(page.isVisible());
  for (const std::int32_t tag : {kGUIPresetPage, kGUIShowAdvanced, kGUIPresetUI}) {
    shown.change(tag, 1);
    EXPECT_TRUE(page.isVisible()) << tag;
  }
  shown.change(kGUIPresetPage, 0);
  EXPECT_FALSE(page.isVisible());
}

TEST(Editor, ADragIsOneStepBackHoweverItEnds) {
  Shown shown(0);
  const int slow = bandParameterId(0, kB1RelSlow);
  const int fast = bandParameterId(0, kB1RelFast);
  const auto places = [&] {
    return std::pair(shown.plug.getParameter(slow), shown.plug.getParameter(fast));
  };
  const auto before = places();
  for (const bool isClosed : {false, true}) {
    CControl* const fader = shown.editor->index().find(slow);
    CPoint at = fader->localToFrame(fader->getViewSize().centre());
    WindowListener& window = shown.editor->shownFrame()->events();
    window.mouseMoved({at.x, at.y}, kAlt);
    window.mouseDown({at.x, at.y}, kLButton, kLButton | kAlt);
    for (int i = 0; i < 4; ++i) window.mouseMoved({at.x += 3, at.y -= 3}, kLButton | kAlt);
    EXPECT_EQ(places().first, places().second);
    EXPECT_NE(places(), before);
    if (isClosed) {
      shown.editor->close();
    } else {
      window.mouseUp({at.x, at.y}, kLButton, kLButton);
    }
    shown.plug.undo();
    EXPECT_EQ(places(), before);
    EXPECT_FALSE(shown.plug.canUndo());
  }
}

TEST(Editor, MarksFollowTheTableOfControllers) {
  Shown shown(0);
  MIDIMap& map = shown.plug.machine().midiMap();
  const auto marks = [&] {
    shown.editor->idle();
    const MarkState& now =
        dynamic_cast<ControlMarks*>(shown.editor->index().find(kIpTrim))->marks();
    return std::pair(now.isLearning, now.isMapped);
  };
  map.setLearnTarget(kIpTrim);
  EXPECT_EQ(marks(), std::pair(true, false));
  shown.change(kGUIShowAdvanced, 1);
  EXPECT_EQ(marks(), std::pair(true, false)) << "layout takes it not away";
  map.learn(kIpTrim, 7);
  map.setLearnTarget(-1);
  EXPECT_EQ(marks(), std::pair(false, true));
  map.unlearn(kIpTrim);
  EXPECT_EQ(marks(), std::pair(false, false));
}

TEST(Editor, TheSelectionOutlivesALayout) {
  Shown shown(0);
  EditorState& state = shown.plug.editorState();
  shown.change(kGUIShiftSelect, 3);
  shown.change(kGUIShiftSelect, 5);
  shown.change(kGUIShowAdvanced, 1);
  shown.change(kGUIShiftSelect, 5);
  EXPECT_EQ(state.currentBand, 3);
  EXPECT_EQ(state.selectedBands, 0b1001U);
}

TEST(Editor, KeysStayOutOfTheDark) {
  const Shown shown(1);
  CFrame& frame = *shown.editor->shownFrame();
  const auto tabs = [&frame] {
    std::set<const CView*> met;
    const CView* last = nullptr;
    // A graph keeps the key until it has gone through its handles.
    for (int i = 0; i < 200 && frame.onKeyDown({Key::kTab, 0, {}, {}}); ++i) {
      const CView* const now = frame.getFocusView();
      if (now != last && !met.insert(now).second) break;
      last = now;
    }
    return met;
  };
  EXPECT_GT(tabs().size(), 20U);
  frame.setFocusView(shown.editor->index().find(kIpTrim));
  shown.editor->openSetup(2);
  EXPECT_EQ(frame.getFocusView(), nullptr);
  std::set<const CView*> met = tabs();
  std::erase_if(met, [](const CView* view) { return view->localToFrame(CPoint{}).y < 25.0F; });
  EXPECT_EQ(met, (std::set<const CView*>{shown.editor->index().find(kGUISetup, 3),
                                         shown.editor->index().find(kGUISetupPage),
                                         shown.editor->index().find(kGUIPrefsChange)}));
}

}  // namespace
