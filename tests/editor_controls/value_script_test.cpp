// What the user does to the controls of parameters, told in a table, and what comes of it.

#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "core/parameter_table.h"
#include "editor/controls/control_block.h"
#include "host/curves.h"
#include "tests/support/user_script.h"
#include "toolkit/cg_frame.h"
#include "toolkit/popup_menu.h"

namespace {

/// All parameters with their tapers, and what an editor hears of their controls.
class NotedValues : public ValueSource, public NotedActs {
 public:
  NotedValues() {
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = defaultOf(static_cast<int>(i));
    open();
  }
  ~NotedValues() override { frame->close(); }
  NotedValues(const NotedValues&) = delete;
  NotedValues& operator=(const NotedValues&) = delete;

  void open() {
    if (frame) frame->close();
    const CFrame::Clock clock = [this] { return now; };
    frame = Held<CGFrame>::adopt(new CGFrame({0, 0, 300, 200}, this, clock));
    frame->openOffScreen(1.0F);
  }

  static const ParameterRecord& record(std::int32_t tag) {
    return kParameterTable.at(static_cast<std::size_t>(tag));
  }
  std::string nameOf(std::int32_t tag) const override { return record(tag).name; }
  std::string textOf(std::int32_t tag) const override {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", static_cast<double>(plainOf(tag)));
    return text.data();
  }
  float valueOf(std::int32_t tag) const override {
    return values.at(static_cast<std::size_t>(tag));
  }
  float defaultOf(std::int32_t tag) const override { return normalisedOf(tag, record(tag).value); }
  float plainOf(std::int32_t tag) const { return plainOf(tag, valueOf(tag)); }
  float plainOf(std::int32_t tag, float normalised) const override {
    return normalisedToPlain(normalised, record(tag).min, record(tag).max, record(tag).curve);
  }
  float normalisedOf(std::int32_t tag, float plain) const override {
    return plainToNormalised(plain, record(tag).min, record(tag).max, record(tag).curve);
  }
  ValueSteps stepsOf(std::int32_t tag) const override {
    const bool isSwitch = record(tag).curve == kCurveSwitch;
    return {record(tag).curve, record(tag).min, record(tag).max, isSwitch ? 2 : 0};
  }
  void setValueFromText(std::int32_t /*tag*/, std::string_view text) override {
    hear("'" + std::string(text) + "'");
  }
  std::int32_t preference(const char* key) const override { return preferences.at(key); }

  CFrame* getFrame() const override { return frame.get(); }
  bool controlModifierClicked(CControl& /*control*/, CButtonState buttons) override {
    if (!buttons.isRight() && !buttons.has(kAlt)) return false;
    hear(buttons.isRight() ? "context" : "alt");
    return true;
  }
  void valueChanged(CControl& control) override {
    if (dynamic_cast<SCSelectMenu*>(&control) != nullptr) {
      const SCSelectMenu::Choice choice = SCSelectMenu::choiceOf(control.getValue());
      std::ostringstream told;
      told << "source" << choice.source << ",band" << choice.band;
      hear(told.str());
      set(control.getTag(), choice.source);
      set(control.getTag() + kB1SCSBand - kB1SCSrc, choice.band);
      return;
    }
    values.at(static_cast<std::size_t>(control.getTag())) = control.getValue();
    hear("=" + textOf(control.getTag()));
  }
  void set(std::int32_t tag, float plain) {
    values.at(static_cast<std::size_t>(tag)) = normalisedOf(tag, plain);
  }

  Held<CGFrame> frame;
  std::map<std::string, int> preferences{{"Hide Mouse", 0}, {"MouseWheel Sensitivity", 0}};

 private:
  std::array<float, kNumParams> values{};
};

class ValueScript : public UserScript {
 protected:
  ValueScript() : UserScript(values) {
    addControls();
    addMarks();
    addEvents();
  }

  void afterRow() override {
    if (!values.log.empty()) say(std::exchange(values.log, {}));
    // As the editor shows what the effect has made of it.
    forControls([this](CControl& control) { control.setValue(values.valueOf(control.getTag())); });
    CFrame& frame = *values.frame;
    if (dynamic_cast<PopupMenu*>(frame.getModalView()) != nullptr) say("menu");
    if (const auto* const field = dynamic_cast<TextField*>(frame.getFocusView())) {
      say("[" + field->text() + "]");
    }
  }

  void addControls() {
    // A control of a parameter at 20, 20, as large as in the panels: blocks, and what stands alone.
    commands["new"] = [this] {
      values.open();
      const std::int32_t tag = parameter(row[2]);
      const ControlSetup setup{{20, 20, 171, 78}, &values, tag};
      ControlBlock::Options options{0, "", "Off\\nOn\\nOn HQ", 3.0F, row[3]};
      if (row[1] == "cell") {
        put(new ScalableLFControlBlock(setup, values, options));
      } else if (row[1] == "source") {
        put(new SCSelectMenu(setup, values));
      } else if (row[1] == "caliper") {
        put(new CaliperSlider(setup, values, parameter(row[3])));
      } else {
        options.mode = number(1);
        put(new ControlBlock(setup, values, options));
      }
    };
    commands["set"] = [this] {
      values.set(parameter(row[1]), std::stof(row[2]));
      afterRow();
    };
    commands["text"] = [this] {
      forControls([this](CControl& control) {
        if (auto* const shown = dynamic_cast<CParamDisplay*>(&control)) say(shown->shownText());
      });
    };
    commands["prefer"] = [this] { values.preferences[row[1]] = number(2); };
    commands["detents"] = [this] {
      for (const float detent : detentsOf(row[1])) say(detent);
    };
  }

  void addMarks() {
    commands["mark"] = [this] {
      const bool on = row[2] != "off";
      if (row[1] == "locked") face<nCanLink>().setLinkState(false, on);
      if (row[1] == "disabled") face<nCanDisable>().setDisabled(on);
      if (row[1] == "learning") face<nCanMIDILearn>().setLearning(on);
    };
    // Whether the picture is another one now than when it was asked for last.
    commands["looks"] = [this] {
      values.frame->idle();
      const CBitmap& picture = *values.frame->picture();
      const int pixels = picture.getWidth() * picture.getHeight();
      std::vector<std::uint32_t> next(picture.pixels(), picture.pixels() + pixels);
      say(next == seen ? "same" : "other");
      seen = std::move(next);
    };
    // What a whole drawing shows, the changes that were drawn one by one have to show as well.
    commands["whole"] = [this] {
      values.frame->invalid();
      commands["looks"]();
    };
    commands["focus"] = [this] {
      auto* const part = dynamic_cast<nCanFocus*>(values.frame->getFocusView());
      say(part != nullptr ? "yes" : "no");
    };
  }

  void addEvents() {
    commands["gone"] = [this] {
      root = nullptr;
      values.frame->removeAll();
    };
    commands["mouse"] = [this] {
      say(values.frame->getCurrentMouseLocation().x);
      say(values.frame->getCurrentMouseLocation().y);
    };
  }

  void put(CView* view) {
    values.frame->addView(view);
    root = view;
  }
  void forControls(const std::function<void(CControl&)>& act) {
    if (auto* const control = dynamic_cast<CControl*>(root)) act(*control);
    auto* const block = dynamic_cast<CViewContainer*>(root);
    for (std::size_t i = 0; block != nullptr && i < block->getViewCount(); ++i) {
      act(dynamic_cast<CControl&>(*block->getView(i)));
    }
  }
  template <typename Face>
  [[nodiscard]] Face& face() {
    return dynamic_cast<Face&>(*root);
  }
  static std::int32_t parameter(const std::string& name) { return parameterKeyTable().find(name); }

  NotedValues values;
  CView* root = nullptr;
  std::vector<std::uint32_t> seen;
};

TEST_F(ValueScript, ControlsTellOneActAtATime) { run(TEST_DATA "/values.txt"); }

}  // namespace
