#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "editing/menu.h"
#include "editor/controls/marks.h"
#include "graphs/meters/meter_holds.h"
#include "toolkit/control.h"
#include "toolkit/draw_context.h"

/// What a band's meter shows.
struct BandMeterChoice {
  enum Channel : int { kLeft, kRight, kSide, kMaximum };
  enum Show : int { kDynamics, kTransients, kBoth };

  int channel = kLeft;
  int show = kDynamics;
  bool isZoomed = false;

  bool operator==(const BandMeterChoice&) const = default;

  /// As stored; what is unknown is the first of its kind.
  [[nodiscard]] static BandMeterChoice of(int channel, int show, int zoom) noexcept;
  /// The parts of a band's gain: a sum of 1 for the dynamic and 2 for the transient part.
  [[nodiscard]] int parts() const noexcept { return show + 1; }
  /// Of the gains of both channels: right and side are the second, the maximum is the larger size.
  [[nodiscard]] double pick(double first, double second) const noexcept;
};

/// The gain change of a band, 24 dB to either side of the middle or, zoomed, half of that. The
/// right button opens the menu of what it shows, which tells the listener `kGUIMeterPrePost` with
/// its own tag as the value after any choice. Threads: as `CView`.
class miniPPMmeter : public CControl, public nCanDisable {
 public:
  explicit miniPPMmeter(const ControlSetup& setup);

  /// Linear.
  void setLevel(double gain);
  void setHoldMode(HoldMode wanted);
  void setChoice(const BandMeterChoice& wanted);
  [[nodiscard]] const BandMeterChoice& getChoice() const noexcept { return choice; }
  [[nodiscard]] double getHold() const noexcept { return hold.get(); }  ///< dB
  /// No bar and no figures in force.
  void setDisabled(bool on) override;
  [[nodiscard]] Menu menu();

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  [[nodiscard]] std::string shownText() const override;

 private:
  struct Shown {
    int row = 0;
    int hold = 0;
    std::string text;

    bool operator==(const Shown&) const = default;
  };
  static constexpr double kTopRange = 24.0;  ///< dB to either side

  [[nodiscard]] double range() const noexcept {
    return choice.isZoomed ? kTopRange / 2 : kTopRange;
  }
  /// From the middle, in pixels, downwards.
  [[nodiscard]] double offsetOf(double dB) const;
  [[nodiscard]] Shown shownNow() const;
  void choose(const BandMeterChoice& wanted);
  void drawScale(CDrawContext& context);
  void drawBar(CDrawContext& context);

  BandMeterChoice choice;
  HoldMode mode = HoldMode::kFiveSeconds;
  double dB = 0.0;
  ValueHold hold;
  Shown shown;
  bool isDisabled = false;
  TextStyle figures;
  TextStyle reading;
};

/// A short lying bar of gain reduction, from the right. The value is a linear gain. Threads: as
/// `CView`.
class miniGRmeter : public CControl {
 public:
  explicit miniGRmeter(const ControlSetup& setup);

  [[nodiscard]] std::string shownText() const override;
  void draw(CDrawContext& context) override;

 private:
  TextStyle text;
};

/// A bar of a level with its held value as text at the right. Threads: as `CView`.
class clipGRmeter : public CControl {
 public:
  explicit clipGRmeter(const ControlSetup& setup);

  /// Linear, 1 for the whole way.
  void setLevel(double wanted);
  [[nodiscard]] std::string shownText() const override;
  void draw(CDrawContext& context) override;

 private:
  double level = 0.0;
  ValueHold hold;
  TextStyle text;
};
