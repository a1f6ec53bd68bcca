#pragma once

#include <string>
#include <vector>

#include "core/plug.h"
#include "graphs/response_shape.h"
#include "graphs/thick_curve.h"
#include "toolkit/control.h"
#include "toolkit/device_picture.h"

/// The static curve of a band's gain computer, what comes out over what goes in, around the
/// threshold, with the level that its detector hears now. Takes no mouse. Threads: as `CView`; it
/// follows the effect by itself and asks for no drawing as long as it would show the same.
class DynamicResponse : public CControl {
 public:
  /// `effect` outlives it.
  DynamicResponse(const ControlSetup& setup, const Plug& effect, int band);

  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint /*where*/, CButtonState /*buttons*/ = {}) const override {
    return false;
  }
  void attached(CViewContainer& holder) override;
  void onIdle() override;

 private:
  struct Shown {
    StaticCurve curve;
    double level = StaticCurve::kSilenceDb;  // dB
    double column = 0.0;                     // of the level, as far as can be told apart

    bool operator==(const Shown&) const = default;
  };
  [[nodiscard]] Shown read() const;
  void take(const Shown& now);
  [[nodiscard]] CRect inside() const;
  [[nodiscard]] CPoint at(double column, double row) const;
  void drawGrid(CDrawContext& context);
  void drawCurve(CDrawContext& context);
  void drawLevel(CDrawContext& context);

  const Plug& plugin;
  const int band;
  Shown shown;
  response_shape::Plot plot;
  std::vector<float> rows;
  std::vector<CVertex> way;
  ThickCurve thick;
  std::string thresholdText;
  BoxPicture frame;
};
