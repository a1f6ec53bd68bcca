// What the user does in the setup window and in the tray of presets, and what is stored of it.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "editor/controls/colour_picker.h"
#include "editor/controls/section.h"
#include "editor/controls/ui_preferences.h"
#include "editor/layout/tag_table.h"
#include "tests/editor/user.h"

namespace {

// Where rows stand in the window.
constexpr double kNameX = 300.0;
constexpr double rowY(int row) { return 122.0 + 24.0 * row; }        // of the graph's options
constexpr double preferenceY(int row) { return 98.0 + 24.0 * row; }  // of the preferences
constexpr double kButtonX = 540.0;
constexpr double kFootY = 391.0;

TEST(Settings, EveryKindOfChangeReachesTheOptions) {
  OnMachine on;
  User user(on.machine);
  user.editor->openSetup(1);
  EXPECT_TRUE(user.chooseAt(kNameX, rowY(7), "Bright"));
  EXPECT_EQ(user.option("Graph", "Background"), 2.0);
  user.frame().events().wheel({kNameX, rowY(8)}, 1.0F, {});
  EXPECT_EQ(user.option("Graph", "Gradient"), 0.0) << "up is towards the first choice";
  user.down(kNameX, rowY(3));
  user.move(kNameX - 50, rowY(3));
  user.move(kNameX - 60, rowY(3) + 40);
  user.up(kNameX - 60, rowY(3) + 40);
  EXPECT_EQ(user.option("Graph", "GR Decay"), 50.0) << "counted from where the drag began";
  user.frame().setFocusView(user.editor->index().find(kGUIUIPrefsChange));
  for (const Key code : {Key::kHome, Key::kDown, Key::kRight, Key::kReturn}) user.key(code);
  EXPECT_TRUE(user.choose("Both"));
  EXPECT_EQ(user.option("Graph", "Readout"), 3.0);
  user.key(Key::kReturn);
  user.key(Key::kEscape);
  EXPECT_EQ(user.frame().getModalView(), nullptr);
  EXPECT_EQ(user.option("Graph", "Readout"), 3.0);
}

TEST(Settings, EveryKindOfChangeReachesThePreferences) {
  OnMachine on;
  User user(on.machine);
  user.editor->openSetup(0);
  user.click(100, 154);     // the third page of the list
  user.click(400, kFootY);  // the last of the tabs, and back to the first by keys
  CControl* const rows = user.editor->index().find(kGUIPrefsChange);
  for (const Key code : {Key::kUp, Key::kReturn, Key::kUp, Key::kReturn}) {
    rows->onKeyDown({code, 0, {}, {}});
  }
  EXPECT_TRUE(user.chooseAt(kNameX, preferenceY(8), "On"));
  user.click(400, kFootY);
  EXPECT_TRUE(user.chooseAt(kNameX, preferenceY(1), "Last 2"));
  Globals again(on.machine.store());
  EXPECT_EQ(again.getGlobal("Hide Mouse"), 1);
  EXPECT_EQ(again.getGlobal("A/B Toggle"), 0);
  user.click(kButtonX, kFootY);
  EXPECT_EQ(on.directory.names().size(), 1U) << "the default bank";
}

TEST(Settings, DefaultsOfTheGraphsStandInTheDefaultBank) {
  OnMachine on;
  {
    User user(on.machine);
    user.editor->openSetup(1);
    user.plug.setProgramName("kept");
    ASSERT_TRUE(user.plug.presetFiles().saveAsDefault());
    user.plug.setProgramName("not kept");
    user.plug.uiSettings().setUiValue("Graph", "Range", 1.0);
    user.plug.uiSettings().setUiValue("Analyser", "Range", 3.0);
    EXPECT_TRUE(user.chooseAt(kNameX, rowY(7), "Save settings for Graph as default", kRButton));
  }
  User user(on.machine);
  EXPECT_EQ(user.presetName(), "kept");
  EXPECT_EQ(user.option("Graph", "Range"), 1.0);
  EXPECT_EQ(user.option("Analyser", "Range"), 0.0);
  user.editor->openSetup(1);
  user.plug.uiSettings().setUiValue("Graph", "Range", 5.0);
  user.plug.uiSettings().setUiValue("Analyser", "Range", 2.0);
  EXPECT_TRUE(user.chooseAt(kNameX, rowY(7), "Restore settings for Graph to default", kRButton));
  EXPECT_EQ(user.option("Graph", "Range"), 1.0);
  EXPECT_EQ(user.option("Analyser", "Range"), 2.0);
  EXPECT_TRUE(user.chooseAt(kButtonX, kFootY, "Restore all UI settings to Default"));
  EXPECT_EQ(user.option("Analyser", "Range"), 0.0);

  // Without any bank, too; and one that cannot be read is not overwritten.
  const std::string bank = on.directory.path(on.directory.names().front());
  std::filesystem::remove(bank);
  EXPECT_TRUE(user.chooseAt(kButtonX, kFootY, "Save all UI settings as Default"));
  EXPECT_EQ(User(on.machine).option("Graph", "Range"), 1.0);
  writeBytes(bank, "{\"presets\": [");
  EXPECT_TRUE(user.chooseAt(kButtonX, kFootY, "Save all UI settings as Default"));
  EXPECT_EQ(readBytes(bank), "{\"presets\": [");
}

TEST(Settings, DamagedOnesDoNoHarm) {
  OnMachine on;
  on.machine.store().write("globals",
                           R"({"Meter Scale": 99, "Meter Peak": -7, "Hide Mouse": "x"})");
  on.machine.globals().setGlobal("Meter Scale", 99);
  on.machine.globals().setGlobal("Meter Peak", -7);
  User user(on.machine);
  user.editor->openSetup(2);
  EXPECT_NE(user.frame().picture(), nullptr);
  user.frame().events().wheel({kNameX, preferenceY(2)}, 1.0F, {});
  EXPECT_EQ(on.machine.globals().getGlobal("Meter Scale"), 2) << "from the last choice";
  EXPECT_TRUE(user.chooseAt(kNameX, preferenceY(3), "Red"));
  EXPECT_EQ(on.machine.globals().getGlobal("Meter Peak"), 0);

  user.editor->openSetup(1);
  auto* const rows = dynamic_cast<UIPreferences*>(user.editor->index().find(kGUIUIPrefsChange));
  ASSERT_NE(rows, nullptr);
  EXPECT_TRUE(user.chooseAt(kButtonX, kFootY, "Copy All Settings"));
  user.plug.uiSettings().setUiValue("Graph", "Draw Style", 0.0);
  EXPECT_TRUE(user.chooseAt(kButtonX, kFootY, "Paste All Settings"));
  EXPECT_EQ(user.option("Graph", "Draw Style"), 2.0);
  const unsigned before = user.plug.uiSettings().revision();
  for (const char* const text : {"", "hello", "{}", "[1]", "{\"uiprefs\": 3}", "{\"uiprefs\": {",
                                 "{\"uiprefs\": {\"Graph\": {\"None\": {\"value\": 1}}}}"}) {
    rows->pasteAll(text);
    EXPECT_EQ(user.plug.uiSettings().revision(), before) << text;
  }
  rows->pasteAll(R"({"uiprefs": {"Graph": {"Range": {"value": 77}, "GR Decay": {"value": -3e9}},
                    "Analyser": {"Top": {"value": 1.6}}}})");
  EXPECT_EQ(user.option("Graph", "Range"), 5.0);
  EXPECT_EQ(user.option("Graph", "GR Decay"), 0.0);
  EXPECT_EQ(user.option("Analyser", "Top"), 1.0);
}

TEST(Settings, APresetOfANestedMenuIsLoadedAndNamed) {
  OnMachine on;
  User user(on.machine);
  const auto placeOf = [&user](std::int32_t tag) {
    const CControl& control = *user.editor->index().find(tag);
    return control.localToFrame(control.getViewSize());
  };
  const CPoint tray = placeOf(kGUIPresetPage).centre();
  user.click(tray.x, tray.y);
  const CRect place = placeOf(kGUIPresetName);
  const double x = place.left + 60.0;
  const double y = place.centre().y;
  user.click(x, y);
  user.wait(300);
  EXPECT_EQ(user.frame().getModalView(), nullptr) << "without presets";

  const std::string folder = on.machine.folders().presets() + "Drums/Soft";
  std::filesystem::create_directories(folder);
  user.plug.setParameterAutomated(kIpTrim, 0.9F);
  ASSERT_TRUE(user.plug.presetFiles().savePreset(folder + "/- Room.CorvanthelisPreset",
                                                 kPresetExtension, true));
  user.plug.setParameterAutomated(kIpTrim, 0.1F);
  user.plug.setProgramName("other");
  user.click(x, y);
  EXPECT_EQ(user.frame().getModalView(), nullptr) << "a second press may come";
  user.wait(300);
  EXPECT_TRUE(user.choose("Drums"));
  EXPECT_TRUE(user.choose("Soft"));
  EXPECT_TRUE(user.choose("- Room"));
  EXPECT_EQ(user.presetName(), "- Room");
  EXPECT_NEAR(user.plug.getParameter(kIpTrim), 0.9F, 1e-6F);

  user.click(x, y);
  user.down(x, y, kLButton, kDoubleClick);
  user.up(x, y);
  user.wait(300);
  EXPECT_EQ(user.frame().getModalView(), nullptr) << "the second press has come";
  user.type("Hall");
  user.key(Key::kReturn);
  EXPECT_EQ(user.presetName(), "Hall");
}

TEST(Settings, ViewsOfASectionStandUnderEachOther) {
  const auto section = Held<nSection>::adopt(new nSection({0, 0, 90, 90}, -1, "Title", {}, 4));
  for (const float height : {10.0F, 20.0F, 5.0F})
    section->addView(new CView({3, 7, 50, 7 + height}));
  section->spaceViews();
  EXPECT_EQ(section->getView(1)->getViewSize(), (CRect{3, 44, 50, 64}));
  EXPECT_EQ(section->getView(2)->getMouseableArea(), (CRect{3, 68, 50, 73}));
}

TEST(Settings, AColourIsChosenByMouseAndText) {
  OnMachine on;
  User user(on.machine);
  std::uint32_t colour = 0;
  ColourPanel::open(user.frame(), {100, 100, 200, 120}, 0x336699,
                    [&colour](std::uint32_t chosen) { colour = chosen; });
  const std::size_t views = user.frame().getViewCount();
  // In a box of 208 by 176 below the place, 12 from its edges: square, strip, text.
  user.down(112, 132);
  user.move(400, 100);
  user.up(400, 100);
  EXPECT_EQ(colour, 0x0080FFU) << "full, of the hue that was there";
  user.click(290, 132);
  EXPECT_EQ(colour, 0xFF0000U);
  for (const auto& [text, result] : {std::pair("#12abCD", 0x12ABCDU), {"#12", 0x12ABCDU}}) {
    user.click(200, 272);
    user.wait(10);
    user.type(text);
    user.key(Key::kReturn);
    user.wait(10);
    EXPECT_EQ(colour, result) << text;
  }
  user.key(Key::kEscape);
  EXPECT_EQ(user.frame().getViewCount(), views - 1);
}

}  // namespace
