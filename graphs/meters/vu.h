#pragma once

#include <array>
#include <string>
#include <vector>

#include "graphs/meters/ladder_picture.h"
#include "graphs/meters/meter_holds.h"
#include "graphs/meters/meter_scale.h"
#include "graphs/meters/meter_settings.h"
#include "toolkit/control.h"
#include "toolkit/device_picture.h"

/// A meter of two channels: peak and average as bars, what is held of the peak as a line, and
/// between the bars the gain reduction, from the mark of 0 on. A press forgets what is held; one on
/// the plot also tells the listener, as a value of `kGUIMeterZoom`, that the other scale is wanted.
/// Threads: as `CView`.
class nVU : public CControl {
 public:
  explicit nVU(const ControlSetup& setup);

  /// Rows from the top of the plot, in pixels.
  [[nodiscard]] virtual double levelToRow(double level) const;
  [[nodiscard]] virtual double rowToLevel(double row) const;
  /// Also puts a range that has widened back.
  virtual void setZoomed(bool on);
  /// dB to either side, of the zoomed scale.
  virtual void setRange(double halfRange);
  /// For `markOffsetOf`.
  virtual void setScale(int choice);
  virtual void setSize(const CRect& rect, bool redraw);
  /// The marks and their places; done when the scale is drawn for the first time after a change.
  virtual void rebuildScale();

  void setSettings(const MeterSettings& wanted);
  /// Linear; gain reduction is below 1. Those of one moment, at least as often as they are to be
  /// seen: what is held follows from them.
  void setLevels(float peakL, float peakR, float rmsL, float rmsR, float grL, float grR);
  void resetHolds();

  [[nodiscard]] bool isZoomed() const noexcept { return scale.isZoomed; }
  [[nodiscard]] double getZoomRange() const noexcept { return scale.zoomRange; }
  [[nodiscard]] const MeterHolds::Reading& holds() const noexcept { return held.holds(); }

  void draw(CDrawContext& context) override;
  void setViewSize(const CRect& rect, bool invalidates = true) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  /// The held peaks and the held gain reduction.
  [[nodiscard]] std::string shownText() const override;

 protected:
  static constexpr int kChannels = 2;
  static constexpr float kScaleTop = 27.0F;
  static constexpr float kBarWidth = 15.0F;
  static constexpr float kGap = 10.0F;
  static constexpr float kTextHeight = 81.0F;  ///< of the view, with what is above the scale

  /// Of a channel, as high as the plot.
  [[nodiscard]] CRect barOf(int channel) const;
  [[nodiscard]] float middle() const;
  [[nodiscard]] bool isOver(int channel) const;
  [[nodiscard]] const MeterSettings& getSettings() const noexcept { return settings; }
  [[nodiscard]] std::string holdText(int channel) const;
  [[nodiscard]] std::string reductionText() const;
  virtual void drawLabel(CDrawContext& context, const std::string& text, const CRect& rect,
                         bool isZero);

 private:
  /// All that a drawing depends on, as fine as it can be seen.
  struct Shown {
    std::array<int, 10> rows{};
    std::array<std::string, 3> texts;
    std::array<bool, 2> over{};

    bool operator==(const Shown&) const = default;
  };
  [[nodiscard]] Shown shownNow() const;
  void scaleChanged();
  void widenRange();
  [[nodiscard]] double nowSeconds() const;
  /// A row of the plot in the view's container.
  [[nodiscard]] float rowY(double row) const;
  void drawScale(CDrawContext& context);
  void drawBar(CDrawContext& context, int channel);
  void drawReduction(CDrawContext& context);

  MeterHolds::Reading levels;
  MeterHolds held;
  MeterScale scale;
  double zoomRangeBase = 1.5;  // as the user prefers it
  MeterSettings settings;
  bool scaleIsStale = true;
  std::vector<ScaleMark> marks;
  std::vector<std::string> markTexts;
  Shown shown;
  std::array<LadderPicture, 2> ladders;
};

/// The same with its channels' names, lamps and readings as text.
class nTTVU : public nVU {
 public:
  explicit nTTVU(const ControlSetup& setup);

  void draw(CDrawContext& context) override;

 protected:
  void drawLabel(CDrawContext& context, const std::string& text, const CRect& rect,
                 bool isZero) override;

 private:
  void drawHead(CDrawContext& context, int channel);
  void drawReading(CDrawContext& context, int channel);

  TextStyle small;
  TextStyle reading;
  std::array<BoxPicture, 2> pills;
};
