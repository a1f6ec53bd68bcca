#pragma once

#include <array>
#include <string>
#include <vector>

#include "graphs/meters/meter_scale.h"
#include "toolkit/control.h"

/// A plain meter of two bars, with the scale at its left and the levels below. Threads: as `CView`.
class CVU : public CControl {
 public:
  explicit CVU(const ControlSetup& setup);

  /// Linear.
  void setLevels(float left, float right);
  [[nodiscard]] std::string shownText() const override;
  void draw(CDrawContext& context) override;
  void setViewSize(const CRect& rect, bool invalidates = true) override;

 private:
  void drawScale(CDrawContext& context);
  [[nodiscard]] CRect barOf(std::size_t channel) const;

  std::array<float, 2> levels{};
  MeterScale scale;
  std::vector<ScaleMark> marks;
  TextStyle text;
};
