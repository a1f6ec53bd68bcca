#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/spectrum_columns.h"
#include "dynamics/bands.h"
#include "graphs/band_curves.h"
#include "graphs/eq_graph_base.h"
#include "graphs/hover_bar.h"

/// What the main graph shows, before it is drawn: the curves of the bands, the spectrum, the
/// handles and the bar beside one of them. Handles 0..7 are the bands, 8 and above the crossover
/// points. Threads: as `EQGraphBase`.
class EQGraphScene : public EQGraphBase {
 public:
  EQGraphScene(const ControlSetup& setup, ValueSource& values, Plug& effect);

  [[nodiscard]] int nodeOf(int handle) const override;
  [[nodiscard]] std::int32_t tagAt(CPoint where) override;
  void setSelectedBand(int band) override;
  /// Takes the samples that have come since and works out the spectrum's columns.
  void updateAnalyser();

  [[nodiscard]] const hover_bar::Boxes& getHoverBoxes() const noexcept { return hoverBoxes; }
  /// The handle whose bar is up, -1 for none.
  [[nodiscard]] int getHoverBand() const noexcept { return hoverBand; }

 protected:
  static constexpr int kBands = kNumBands;
  static constexpr int kHandles = 2 * kBands;
  enum class Drag : std::uint8_t { kNone, kBand, kQ, kCrossover, kRubber };

  ~EQGraphScene() override = default;

  void rebuild() override;
  void axisChanged() override;
  void placeHandles() override;
  [[nodiscard]] bool hasChanged() override;
  [[nodiscard]] bool hasMoved() override;
  void advance() override;

  [[nodiscard]] bool isOn(int band, std::int32_t bandOneId) const;
  [[nodiscard]] bool isActive(int band) const;
  [[nodiscard]] std::uint32_t activeOf(std::uint32_t bands) const;
  [[nodiscard]] int activeCount() const;
  [[nodiscard]] bool isAnySoloed() const;
  [[nodiscard]] bool isHeard(int band) const;
  [[nodiscard]] bool isSelected(int band) const;
  /// The band that a handle's menu is of: of a crossover point the one below it.
  [[nodiscard]] int bandOfHandle(int handle) const;
  /// Where a handle's disc is drawn: clear of the strip and of all edges, wherever it is itself.
  [[nodiscard]] CPoint discOf(int handle) const;
  /// The handle at a point, or the one whose disc is drawn there, away from its own place.
  int handleAt(CPoint where);

  /// Whether any height of a spectrum can be told from none.
  [[nodiscard]] bool isSeen(std::span<const double> heights) const;

  // The bar.
  void placeBar();
  void showBar(int handle);
  [[nodiscard]] bool isOnBar(CPoint where) const;
  [[nodiscard]] bool isNearBar(CPoint where) const;
  [[nodiscard]] CRect barPlace() const;

  BandCurves curves;
  std::vector<int> xover;  // bands of the crossover by frequency
  std::vector<double> analyserLeft;
  std::vector<double> analyserRight;
  int previousBand = -1;  // the one selected before
  hover_bar::Boxes hoverBoxes{};
  hover_bar::Content barShown;
  CPoint barSize;
  int hotBox = -1;
  int underMouse = -1;  // a handle

  // What is being dragged, and whether its edits have begun.
  Drag drag = Drag::kNone;
  bool isMoving = false;
  CRect rubber;
  bool isRubberSeen = false;

 private:
  [[nodiscard]] bool isSpectrumAtRest();
  void takeSnapshot();
  [[nodiscard]] graph_handles::Handle bandHandle(int band);
  void placeCrossovers();
  [[nodiscard]] hover_bar::Content barContent(int handle) const;
  [[nodiscard]] bool keepsBarPlace() const;
  [[nodiscard]] CPoint freeBarPlace(CPoint barIs) const;

  bool areCurvesMoving = false;
  SpectrumColumns spectrum;
  FrequencyAxis spectrumAxis;  // of the heights
  std::array<std::vector<double>, 4> snapshot;
  std::uint32_t analysedTo = 0;
  bool isSpectrumStale = true;
  CPoint barCorner;  // of the plot

  /// What a picture depends on besides the curves' gains.
  static constexpr int kWatchedRows = 12;
  std::array<float, kBands * kWatchedRows + 1> watched{};
  std::array<double, kBands> watchedGains{};
  unsigned watchedLayout = 0;
};
