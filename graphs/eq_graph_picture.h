#pragma once

#include <array>
#include <span>
#include <vector>

#include "graphs/eq_graph_scene.h"
#include "graphs/graph_drawing.h"
#include "graphs/graph_pictures.h"

/// How the main graph is drawn. Threads: as `EQGraphBase`.
class EQGraphPicture : public EQGraphScene {
 public:
  using EQGraphScene::EQGraphScene;

 protected:
  ~EQGraphPicture() override = default;

  void drawAnalyser(CDrawContext& context) override;
  void drawResponse(CDrawContext& context) override;
  void drawBands(CDrawContext& context) override;
  void drawReadout(CDrawContext& context) override;
  void drawHandles(CDrawContext& context) override;

 private:
  std::span<const float> rowsOf(std::span<const double> curve, double gain,
                                std::vector<float>& rows) const;
  void drawSpectrum(CDrawContext& context, const std::vector<double>& heights, bool isFront);
  void drawSum(CDrawContext& context);
  void drawBand(CDrawContext& context, int band);
  void drawBodies(CDrawContext& context, int band, bool isBright);
  void drawBandHandle(CDrawContext& context, int band);
  void drawStem(CDrawContext& context, int band, CColor hue);
  void drawBadge(CDrawContext& context, CPoint centre, bool isListened);
  void drawCrossover(CDrawContext& context, int handle);
  void drawRubber(CDrawContext& context);
  void drawBar(CDrawContext& context);
  void drawBarBox(CDrawContext& context, int box);

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
