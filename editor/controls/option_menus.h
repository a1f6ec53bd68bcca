#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "editor/controls/value_part.h"
#include "toolkit/option_menu.h"

/// A menu of a parameter's values, shown as the text of the present one with an arrow. Its own
/// value is the index of an entry; what it is given and tells is normalised. Threads, for all of
/// these: as `CView`.
class nOptionMenu : public ValuePart<COptionMenu> {
 public:
  /// `entries` as `COptionMenu::addEntries` takes them; none: the texts of the parameter.
  nOptionMenu(const ControlSetup& setup, ValueSource& values, std::string_view entries,
              TextStyle style);

  /// Of the parameter.
  void setValue(float normalised) override;
  void valueChanged() override;
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;

 protected:
  void choose(int index) override;
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;
  /// What stands beside the arrow.
  [[nodiscard]] virtual std::string titleShown();
  [[nodiscard]] ValueSource& getValues() const noexcept { return values; }

 private:
  ValueSource& values;
  CColor restColour;
  WheelNotches notches;
  IconPicture arrow;
};

/// The slopes that a parameter can have.
class nOptionMenuFilterSlope : public nOptionMenu {
 public:
  nOptionMenuFilterSlope(const ControlSetup& setup, ValueSource& values, TextStyle style);

  void setValue(float normalised) override;
  void valueChanged() override;

 private:
  std::vector<float> slopes;  // plain, of the entries
};

/// What a band listens to: everything, its own input, that of another crossover band, or the
/// external input. It shows two parameters, `kB1SCSrc` and `kB1SCSBand` of the band its tag names,
/// and tells a choice of both as one value of the first, which `choiceOf` takes apart.
class SCSelectMenu : public nOptionMenu {
 public:
  SCSelectMenu(const ControlSetup& setup, ValueSource& values);

  struct Choice {
    float source = 0.0F;  ///< plain values
    float band = -1.0F;
  };
  [[nodiscard]] static Choice choiceOf(float told);
  [[nodiscard]] static float toldOf(Choice choice);

  /// Reads both parameters.
  void setValue(float normalised) override;
  void valueChanged() override;

 protected:
  void beforePopup() override { fill(); }
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;
  [[nodiscard]] std::string titleShown() override;

 private:
  void fill();
  [[nodiscard]] Choice present() const;

  std::vector<Choice> choices;  // of the entries
};

/// How two things are linked, as a menu on an icon.
class nLinkButton : public nOptionMenu {
 public:
  nLinkButton(const ControlSetup& setup, ValueSource& values, std::string_view entries);

  void draw(CDrawContext& context) override;
};
