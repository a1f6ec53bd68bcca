#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "analysis/spectrum_columns.h"
#include "dynamics/bands.h"
#include "graphs/band_curves.h"
#include "graphs/eq_graph_base.h"
#include "graphs/graph_drawing.h"
#include "graphs/hover_bar.h"

/// What the graph tells of a selection that it has made itself: the listener leaves the masks as
/// they are.
class GraphUpdate : public CControl {
 public:
  using CControl::CControl;
};

/// The main graph: the spectrum, the curves of the bands, of their gain changes and of their sum,
/// and the handles by which bands and crossover points are moved. Handles 0..7 are the bands, 8 and
/// above the crossover points.
///
/// What the user does to the selection is told to the listener as by `bandTabs`: `kGUISelectOnly`,
/// `kGUISelectToggle`, `kGUIShiftSelect`; a press on one of several that are selected is a
/// `GraphUpdate` of `kGUISelectedBand`. `kGUIOpenBandMenu` comes from a control whose view size
/// begins where the menu is to open. Threads: as `EQGraphBase`.
class EQGraph : public EQGraphBase {
 public:
  EQGraph(const ControlSetup& setup, ValueSource& values, Plug& effect);

  [[nodiscard]] int nodeOf(int handle) const override;
  [[nodiscard]] std::int32_t tagAt(CPoint where) override;
  void setSelectedBand(int band) override;
  /// Takes the samples that have come since and works out the spectrum's columns.
  void updateAnalyser();

  [[nodiscard]] const hover_bar::Boxes& getHoverBoxes() const noexcept { return hoverBoxes; }
  /// The handle whose bar is up, -1 for none.
  [[nodiscard]] int getHoverBand() const noexcept { return hoverBand; }

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  void onMouseExited() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  void takeFocus() override;
  void removed() override;

 protected:
  ~EQGraph() override = default;

  void rebuild() override;
  void axisChanged() override;
  void placeHandles() override;
  [[nodiscard]] bool hasChanged() override;
  [[nodiscard]] bool hasMoved() override;
  void advance() override;

  void drawAnalyser(CDrawContext& context) override;
  void drawResponse(CDrawContext& context) override;
  void drawBands(CDrawContext& context) override;
  void drawReadout(CDrawContext& context) override;
  void drawHandles(CDrawContext& context) override;

 private:
  static constexpr int kBands = kNumBands;
  static constexpr int kHandles = 2 * kBands;
  enum class Drag : std::uint8_t { kNone, kBand, kQ, kCrossover, kRubber };

  // What it knows.
  [[nodiscard]] bool isOn(int band, std::int32_t bandOneId) const;
  [[nodiscard]] bool isActive(int band) const;
  [[nodiscard]] int activeCount() const;
  [[nodiscard]] bool isAnySoloed() const;
  [[nodiscard]] bool isHeard(int band) const;
  [[nodiscard]] bool isSelected(int band) const;
  /// The band that a handle's menu is of: of a crossover point the one below it.
  [[nodiscard]] int bandOfHandle(int handle) const;
  [[nodiscard]] graph_handles::Handle bandHandle(int band);
  void placeCrossovers();
  /// Where a handle's disc is drawn.
  [[nodiscard]] CPoint discOf(int handle) const;
  /// The handle at a point, or the one whose disc is drawn there, away from its own place.
  int handleAt(CPoint where);

  // The bar.
  [[nodiscard]] hover_bar::Content barContent(int handle) const;
  void placeBar();
  void showBar(int handle);
  [[nodiscard]] bool isOnBar(CPoint where) const;
  [[nodiscard]] bool isNearBar(CPoint where) const;
  [[nodiscard]] CRect barPlace() const;
  CMouseEventResult pressBox(int box, CPoint where, CButtonState buttons);
  void drawBar(CDrawContext& context);
  void drawBarBox(CDrawContext& context, int box);

  // What the user does.
  CMouseEventResult pressHandle(int handle, CPoint where, CButtonState buttons);
  CMouseEventResult pressEmpty(CPoint where, CButtonState buttons);
  void followMouse(CPoint where, CButtonState buttons);
  void selectPressed(int band, CButtonState buttons);
  void selectAmong(int band);
  bool createBand(CPoint where, CButtonState buttons);
  void toggleBand(int band);
  void toggleSelected(int hit);
  void deleteBands(std::uint32_t bands);
  [[nodiscard]] int nextSelected(std::uint32_t gone) const;
  void openMenu(int handle, CPoint where);
  void openRangeMenu(CPoint where);
  void beginDrag(Drag kind, int handle, CPoint where);
  void beginMoving();
  void moveDrag(CPoint where, CButtonState buttons);
  void moveBand(graph_handles::Point to);
  void moveCrossover(double frequency);
  void moveRubber(CPoint where);
  void endDrag();
  bool walkHandles(bool forward);
  bool moveByKey(const KeyEvent& key);
  bool handleKey(const KeyEvent& key, int band);

  // The drawing.
  std::span<const float> rowsOf(std::span<const double> curve, double gain,
                                std::vector<float>& rows) const;
  void drawBand(CDrawContext& context, int band);
  void drawBodies(CDrawContext& context, int band, bool isBright);
  void drawSum(CDrawContext& context);
  void drawSpectrum(CDrawContext& context, const std::vector<double>& heights, bool isFront);
  void drawBandHandle(CDrawContext& context, int band);
  void drawCrossover(CDrawContext& context, int handle);
  void drawStem(CDrawContext& context, int band, CColor hue);
  void drawBadge(CDrawContext& context, CPoint centre, bool isListened);
  void drawRubber(CDrawContext& context);

  BandCurves curves;
  bool areCurvesMoving = false;
  std::vector<int> xover;  // bands of the crossover by frequency
  int previousBand = -1;   // the one selected before

  SpectrumColumns spectrum;
  std::array<std::vector<double>, 4> snapshot;
  std::vector<double> analyserLeft;
  std::vector<double> analyserRight;
  std::uint32_t analysedTo = 0;
  bool isSpectrumStale = true;

  /// What a picture depends on besides the curves' gains.
  static constexpr int kWatchedRows = 12;
  std::array<float, kBands * kWatchedRows + 1> watched{};
  std::array<double, kBands> watchedGains{};
  unsigned watchedLayout = 0;

  hover_bar::Boxes hoverBoxes{};
  hover_bar::Content barShown;
  CPoint barCorner;  // of the plot
  CPoint barSize;
  int hotBox = -1;
  int underMouse = -1;  // a handle

  Drag drag = Drag::kNone;
  bool isMoving = false;  // its edits have begun
  bool togglesOnRelease = false;
  graph_handles::Point dragFrom;
  graph_handles::Point lastPoint;
  graph_handles::Point dragShift;  // by which the mouse is ahead, from slow moves
  double stemRows = 0.0;           // from the set gain to where the disc was taken
  double crossoverFrom = 0.0;      // Hz
  std::array<std::int32_t, 2> dragTags{-1, -1};
  WheelNotches fieldNotches;
  CRect rubber;
  std::uint32_t rubberBands = 0;
  bool isRubberSeen = false;

  BoxPicture barGround;
  std::array<BoxPicture, hover_bar::kBoxes> boxPictures;
  IconPicture crossIcon;
  IconPicture menuIcon;
  std::array<IconPicture, kBands> lowIcons;
  std::array<BoxPicture, kBands> capsules;
  std::array<IconPicture, kBands> leftArrows;
  std::array<IconPicture, kBands> rightArrows;
  BoxPicture focusCapsule;
  DashPicture dashes;
  CurvePainter painter;
  // Kept from picture to picture, so that none allocates.
  std::vector<float> setRows;
  std::vector<float> liveRows;
  std::vector<float> upperRows;
};
