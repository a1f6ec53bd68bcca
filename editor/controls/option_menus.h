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
  /// `entries` as `COptionMenu::addEntries` takes them, from the least value on.
  nOptionMenu(const ControlSetup& setup, ValueSource& values, std::string_view entries,
              const TextStyle& written);

  /// Of the parameter.
  void setValue(float normalised) override;
  void valueChanged() override;
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  /// What stands beside the arrow.
  [[nodiscard]] std::string shownText() const override;
  [[nodiscard]] float shownWidth() const override;

 protected:
  void choose(int index) override { COptionMenu::setValue(static_cast<float>(index)); }
  void putValue(float index) override;
  void tellItself() { COptionMenu::valueChanged(); }
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;
  /// The plain value of an entry, and the entry of one.
  [[nodiscard]] virtual float plainAt(int index) const;
  [[nodiscard]] virtual int indexOf(float plain) const;
  [[nodiscard]] ValueSource& getValues() const noexcept { return values; }

 private:
  [[nodiscard]] int neighbour(int direction) const;

  ValueSource& values;
  CColor restColour;
  bool isParameter;
  WheelNotches notches;
  IconPicture arrow;
};

/// The slopes that a parameter can have.
class nOptionMenuFilterSlope : public nOptionMenu {
 public:
  nOptionMenuFilterSlope(const ControlSetup& setup, ValueSource& values, const TextStyle& written);

 protected:
  [[nodiscard]] float plainAt(int index) const override;
  [[nodiscard]] int indexOf(float plain) const override;
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

  [[nodiscard]] std::string shownText() const override;
  /// Reads both parameters.
  void setValue(float normalised) override;
  void valueChanged() override;

 protected:
  void beforePopup() override { fill(); }
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;

 private:
  void fill();
  [[nodiscard]] Choice present() const;
  [[nodiscard]] float plainNow(std::int32_t parameter) const;
  /// Whether it is a crossover band that runs or is bypassed.
  [[nodiscard]] bool splits(int band) const;

  std::vector<Choice> choices;  // of the entries
};

/// How two things are linked, as a menu on an icon.
class nLinkButton : public nOptionMenu {
 public:
  nLinkButton(const ControlSetup& setup, ValueSource& values, std::string_view entries);

  void draw(CDrawContext& context) override;
};
