#include "editor/controls/band_tabs.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "editing/parameter_ids.h"
#include "editor/layout/tag_table.h"
#include "toolkit/cg_frame.h"

namespace {

/// Tabs in a window of their own, and what they tell.
class TabsRig : public ValueSource, public CControlListener, public VSTGUIEditorInterface {
 public:
  TabsRig() : frame(Held<CGFrame>::adopt(new CGFrame({0, 0, 844, 698}, this, [] { return 0; }))) {
    for (int band = 0; band < 5; ++band) values[bandParameterId(band, kB1State)] = 1.0F;
    tabs = new bandTabs({{14, 396, 800, 452}, this, kGUISelectedBand}, *this);
    tabs->setGraphWidth(641);
    frame->addView(tabs);
    frame->openOffScreen(1.0F);
  }

  void press(CPoint at, CButton button, std::uint32_t held) {
    const DevicePoint place{at.x, at.y};
    frame->events().mouseDown(place, button, button | held);
    frame->events().mouseUp(place, button, held);
  }
  std::string takeTold() {
    std::string text = told.str();
    told.str("");
    return text;
  }

  [[nodiscard]] float valueOf(std::int32_t tag) const override {
    const auto found = values.find(tag);
    return found != values.end() ? found->second : 0.0F;
  }
  [[nodiscard]] std::string nameOf(std::int32_t) const override { return {}; }
  [[nodiscard]] std::string textOf(std::int32_t) const override { return {}; }
  [[nodiscard]] float defaultOf(std::int32_t) const override { return 0.0F; }
  [[nodiscard]] float plainOf(std::int32_t, float value) const override { return value * 7.0F; }
  [[nodiscard]] float normalisedOf(std::int32_t, float plain) const override { return plain; }
  [[nodiscard]] ValueSteps stepsOf(std::int32_t) const override { return {}; }
  void setValueFromText(std::int32_t, std::string_view) override {}

  void valueChanged(CControl& control) override {
    const std::int32_t tag = control.getTag();
    told << nameOfTag(tag) << "=" << control.getValue();
    if (tag == kGUIOpenBandMenu) {
      told << "@" << control.getViewSize().left << "," << control.getViewSize().top;
    }
    told << " ";
    if (tag < kNumParams) values[tag] = control.getValue();
  }
  void beginEdit(std::int32_t tag) override { told << "<" << nameOfTag(tag) << " "; }
  void endEdit(std::int32_t tag) override { told << nameOfTag(tag) << "> "; }
  void setParameter(std::int32_t, float) override {}
  [[nodiscard]] CFrame* getFrame() const override { return frame.get(); }
  void frameCallback(std::int32_t, void*) override {}

  std::map<std::int32_t, float> values;
  bandTabs* tabs = nullptr;
  Held<CGFrame> frame;

 private:
  static std::string nameOfTag(std::int32_t tag) {
    if (!isBandParameter(tag)) return std::string(tagTable().nameOf(tag));
    const std::string row(tagTable().nameOf(bandOneIdOf(tag)));
    return std::to_string(bandOf(tag) + 1) + row.substr(3);
  }

  std::ostringstream told;
};

TEST(BandTabs, PressesAreToldForWhatTheyMeet) {
  TabsRig rig;
  EXPECT_EQ(rig.tabs->tabOf(0), (CRect{14, 421, 92, 448}));
  EXPECT_EQ(rig.tabs->tabOf(7), (CRect{575, 421, 655, 448}));
  struct Row {
    CPoint at;
    CButton button;
    std::uint32_t held;
    const char* told;
  };
  const Row rows[] = {
      {{200, 425}, kLButton, 0, "kGUISelectedBand=2 "},
      {{200, 425}, kLButton, kShift, "kGUIShiftSelect=2 "},
      {{200, 425}, kLButton, kControl, "kGUISelectToggle=2 kGUISelectToggle=-1 "},
      {{186, 442}, kLButton, 0, "<3Bypass 3Bypass=1 3Bypass> "},
      {{186, 442}, kLButton, kDoubleClick, "<3Bypass 3Bypass=0 3Bypass> "},
      {{204, 442}, kLButton, 0, "<3Solo 3Solo=1 3Solo> "},
      {{242, 431}, kLButton, 0, "<3State 3State=0 3State> "},
      {{242, 431}, kLButton, 0, "kGUISelectedBand=2 "},
      {{214, 434}, kLButton, 0, "<3State 3State=1 3State> kGUISelectedBand=2 "},
      {{214, 434}, kRButton, 0, "kGUIOpenBandMenu=2@214,434 "},
      {{186, 442}, kRButton, 0, "kGUIOpenBandMenu=2@186,442 "},
      {{200, 418}, kLButton, 0, ""},
      {{200, 450}, kLButton, 0, ""},
      {{700, 434}, kLButton, 0, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.at.x << " " << row.at.y << " " << row.held);
    rig.press(row.at, row.button, row.held);
    EXPECT_EQ(rig.takeTold(), row.told);
  }
  EXPECT_EQ(rig.frame->viewAt({200, 418}), nullptr) << "there the graph takes the mouse";
  for (int band = 1; band < 5; ++band) rig.values[bandParameterId(band, kB1State)] = 0.0F;
  rig.tabs->refresh();
  rig.press({82, 431}, kLButton, 0);
  EXPECT_EQ(rig.takeTold(), "") << "the last active band stays";
}

TEST(BandTabs, SeveralAreChosenByOneDrag) {
  TabsRig rig;
  WindowListener& events = rig.frame->events();
  events.mouseDown({40, 425}, kLButton, kLButton | kControl);
  events.mouseMoved({50, 425}, kLButton | kControl);
  events.mouseMoved({120, 425}, kLButton | kControl);
  events.mouseMoved({200, 300}, kLButton | kControl);
  events.mouseUp({200, 300}, kLButton, kControl);
  EXPECT_EQ(rig.takeTold(), "kGUISelectToggle=0 kGUISelectToggle=1 kGUISelectToggle=-1 ");
  // What is released elsewhere than it was pressed switches nothing.
  events.mouseDown({26, 442}, kLButton, kLButton);
  events.mouseUp({45, 442}, kLButton, 0);
  EXPECT_EQ(rig.takeTold(), "");
}

TEST(BandTabs, KeysDoWhatTheMouseDoes) {
  TabsRig rig;
  rig.tabs->setValue(4.0F);
  rig.frame->setFocusView(rig.tabs);
  for (const auto& [key, told] : {std::pair{Key::kLeft, "kGUISelectedBand=3 "},
                                  {Key::kEnd, "kGUISelectedBand=7 "},
                                  {Key::kSpace, "<5Bypass 5Bypass=1 5Bypass> "},
                                  {Key::kDelete, "<5State 5State=0 5State> "},
                                  {Key::kSpace, ""},
                                  {Key::kReturn, "<5State 5State=1 5State> kGUISelectedBand=4 "}}) {
    KeyEvent event;
    event.key = key;
    static_cast<void>(rig.frame->onKeyDown(event));
    EXPECT_EQ(rig.takeTold(), told) << static_cast<int>(key);
  }
}

TEST(BandTabs, StatesFollowTheParameters) {
  TabsRig rig;
  rig.values[bandParameterId(1, kB1Type)] = 1.0F;
  rig.values[bandParameterId(1, kB1SubType)] = 2.0F / 7.0F;
  rig.values[bandParameterId(1, kB1Solo)] = 1.0F;
  rig.frame->idle();
  EXPECT_EQ(rig.tabs->stateOf(1), (BandTabState{true, false, true, "BPF E"}));
  EXPECT_EQ(rig.tabs->stateOf(0), (BandTabState{true, false, false, "XOVER"}));
  EXPECT_FALSE(rig.tabs->stateOf(5).isActive);
}

}  // namespace
