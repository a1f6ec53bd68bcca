// What a plot's columns and rows stand for, and where lines, figures, handles and boxes are.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "graphs/frequency_axis.h"
#include "graphs/graph_grid.h"
#include "graphs/graph_readouts.h"
#include "graphs/handles.h"
#include "graphs/hover_bar.h"
#include "graphs/level_axes.h"
#include "graphs/zoom_strip.h"

namespace {

constexpr FrequencyAxis kWide{786, 10.0, 22050.0};

std::string joined(const std::vector<graph_grid::Figure>& figures) {
  std::string all;
  for (const graph_grid::Figure& figure : figures) all += figure.text + " ";
  return all;
}

TEST(GraphPlot, ColumnsAndRowsStandForFrequenciesAndLevels) {
  EXPECT_NEAR(kWide.columnOf(1000.0), 786 * std::log(100.0) / std::log(2205.0), 1e-9);
  EXPECT_EQ(kWide.clampedColumnOf(9.0), 0.0);
  EXPECT_EQ(kWide.clampedColumnOf(23000.0), 786.0);
  for (const double frequency : {10.0, 440.0, 22050.0}) {
    EXPECT_NEAR(kWide.frequencyAt(kWide.columnOf(frequency)), frequency, 1e-9 * frequency);
  }
  const LevelAxis levels{24.0, 379};
  EXPECT_EQ(levels.rowOf(24.0), 0.0);
  EXPECT_EQ(levels.rowOf(0.0), 189.0);
  EXPECT_EQ(levels.rowOf(-24.0), 378.0);
  EXPECT_NEAR(levels.gainAt(189.5), 0.0, 1e-12);
  EXPECT_NEAR(levels.gainAt(94.75), 12.0, 1e-12);
  const AnalyserAxis analyser{80.0, -12.0};
  EXPECT_EQ(analyser.levelOf(1.0), -12.0);
  EXPECT_EQ(analyser.levelOf(0.25), -72.0);
  EXPECT_EQ(analyser.levelAt(100.0, 400), -32.0);
}

TEST(GraphPlot, GridHasItsLines) {
  const auto lines = graph_grid::uprights({641, 95.0, 2500.0});
  ASSERT_EQ(lines.size(), 1U + 9U + 1U - 0U);
  EXPECT_EQ(lines.front().frequency, 100.0);
  EXPECT_TRUE(lines.front().isDecade);
  EXPECT_EQ(lines[1].frequency, 200.0);
  EXPECT_FALSE(lines[1].isDecade);
  EXPECT_TRUE(lines[9].isDecade);
  EXPECT_EQ(lines.back().frequency, 2000.0);

  const struct {
    double range;
    int height;
    std::vector<int> rows;
    const char* top;
  } ranges[] = {{3.0, 379, {0, 378}, " 3dB"},
                {6.0, 379, {0, 189, 378}, " 6dB"},
                {18.0, 100, {0, 16, 33, 49, 66, 82, 99}, "18dB"}};
  for (const auto& each : ranges) {
    SCOPED_TRACE(each.range);
    const auto levels = graph_grid::levels({each.range, each.height});
    std::vector<int> rows;
    rows.reserve(levels.size());
    for (const graph_grid::Level& level : levels) rows.push_back(level.row);
    EXPECT_EQ(rows, each.rows);
    EXPECT_EQ(graph_grid::levelText(levels.front().dB), each.top);
    EXPECT_EQ(levels.back().dB, -each.range);
  }
  const auto analyser = graph_grid::analyserLevels({96.0, -12.0}, 379);
  ASSERT_EQ(analyser.size(), 8U);
  EXPECT_EQ(analyser[0].row, 5);
  EXPECT_EQ(analyser[3].row, 141);
  EXPECT_EQ(graph_grid::levelText(analyser[3].dB), "-48dB");
  EXPECT_EQ(graph_grid::glowOf(0, 100, 14), 14);
  EXPECT_EQ(graph_grid::glowOf(25, 100, 14), 7);
  EXPECT_EQ(graph_grid::glowOf(60, 100, 14), 0);
}

TEST(GraphPlot, FiguresOfFrequenciesStandApart) {
  const auto six = [](std::string_view text) { return 6.0 * static_cast<double>(text.size()); };
  const struct {
    FrequencyAxis axis;
    const char* texts;
  } axes[] = {
      {{641, 10.0, 22050.0}, "10 20 50 100 200 500 1k 2k 5k 10k 20k "},
      {{120, 10.0, 22050.0}, "10 50 200 1k 5k "},
      {{641, 900.0, 22050.0}, "1k 2k 4.0k 5k 6.0k 8.0k 10k 20k "},
      {{641, 900.0, 7000.0}, "900 1k 2k 3.0k 4.0k 5k 6.0k 7.0k "},
  };
  for (const auto& each : axes) {
    SCOPED_TRACE(each.texts);
    const auto figures = graph_grid::frequencyFigures(each.axis, 22050.0, six);
    EXPECT_EQ(joined(figures), each.texts);
    double end = 0.0;
    for (const graph_grid::Figure& figure : figures) {
      EXPECT_GT(figure.left, end);
      end = figure.left + figure.width + 1.0;
      EXPECT_GE(figure.left, 2.0);
      EXPECT_LE(figure.left + figure.width, each.axis.width - 4.0);
    }
  }
  const auto figures = graph_grid::frequencyFigures(kWide, 22050.0, six);
  EXPECT_NEAR(figures[6].left, kWide.columnOf(1000.0) - 5.5, 1e-9);
}

TEST(GraphPlot, ReadoutsSayWhatIsUnderTheMouse) {
  const AnalyserAxis analyser{96.0, 0.0};
  graph_readouts::Values values{3, true, 393, 94, -3.456, 0.5, 0.25};
  const auto said = [&] {
    std::string all;
    for (const auto& [column, text] : graph_readouts::texts(values, kWide, analyser, 376)) {
      all += std::to_string(std::lround(column)) + " " + text + "; ";
    }
    return all;
  };
  EXPECT_EQ(said(),
            "393 CURSOR: 469.6Hz, -24dB; 590 GRAPH: -3.46 dB; 197 ANALYSER: -48dB, -72dB; ");
  values.analyserOn = false;
  EXPECT_EQ(said(), "393 CURSOR: 469.6Hz; 590 GRAPH: -3.46 dB; ");
  values.readout = 1;
  EXPECT_EQ(said(), "");
  values.analyserOn = true;
  EXPECT_EQ(said(), "393 CURSOR: 469.6Hz, -24dB; 197 ANALYSER: -48dB, -72dB; ");
  for (const int beside : {-1, 786}) {
    values.x = beside;
    EXPECT_EQ(said(), "");
  }
}

TEST(GraphPlot, NearestHandleIsTaken) {
  std::vector<graph_handles::Handle> handles(4);
  for (std::size_t i = 0; i < handles.size(); ++i) {
    handles[i].isActive = i != 1;
    handles[i].centre = {100.0 + 12.0 * static_cast<double>(i), 50.0};
  }
  handles[3].centre = handles[2].centre;
  EXPECT_EQ(graph_handles::nearest(handles, {109.0, 50.0}), 0) << "the one between is off";
  EXPECT_EQ(graph_handles::nearest(handles, {124.0, 51.0}), 2) << "the first of equals";
  EXPECT_EQ(graph_handles::nearest(handles, {112.0, 50.0}), -1);
  EXPECT_EQ(graph_handles::nearest(handles, {90.0, 50.0}), -1) << "just out of reach";
  EXPECT_EQ(graph_handles::nearest(handles, {94.0, 42.1}), 0);
  EXPECT_EQ(graph_handles::crossoverFrequency(100.0, 400.0), 200.0);
  EXPECT_EQ(graph_handles::crossoverLevel(24.0), -6.0);
  EXPECT_EQ(graph_handles::crossoverLevel(6.0), -3.0);
  EXPECT_EQ(graph_handles::liftedDisc(330.0, 379).row, 317.0);
  EXPECT_TRUE(graph_handles::liftedDisc(330.0, 379).isLow);
  EXPECT_EQ(graph_handles::liftedDisc(300.0, 379).row, 300.0);
}

TEST(GraphPlot, StripAndWheelZoom) {
  using zoom_strip::Mode;
  const zoom_strip::Strip strip{641, 379, 22050.0};
  const zoom_strip::Range shown{100.0, 5000.0};
  EXPECT_TRUE(strip.contains(329.0) && strip.contains(344.0));
  EXPECT_FALSE(strip.contains(328.9) || strip.contains(344.1));
  EXPECT_NEAR(strip.columnOf(10.0), 4.0, 1e-9);
  EXPECT_NEAR(strip.columnOf(22050.0), 637.0, 1e-9);
  EXPECT_EQ(strip.modeAt(strip.columnOf(100.0) + 16.0, shown), Mode::kLeft);
  EXPECT_EQ(strip.modeAt(strip.columnOf(5000.0) - 15.9, shown), Mode::kRight);
  EXPECT_EQ(strip.modeAt(strip.columnOf(700.0), shown), Mode::kBoth);
  for (const Mode mode : {Mode::kLeft, Mode::kRight, Mode::kBoth}) {
    const double by = strip.columnOf(200.0) - strip.columnOf(100.0);
    const zoom_strip::Range moved = strip.dragged(mode, shown, by);
    EXPECT_NEAR(moved.minf, mode == Mode::kRight ? 100.0 : 200.0, 1e-6);
    EXPECT_NEAR(moved.maxf, mode == Mode::kLeft ? 5000.0 : 10000.0, 1e-6);
    for (const double far : {-5000.0, 5000.0}) {
      const zoom_strip::Range end = strip.dragged(mode, shown, far);
      EXPECT_GE(end.minf, 10.0 - 1e-9);
      EXPECT_LE(end.maxf, 22050.0 + 1e-6);
      EXPECT_GE(end.maxf / end.minf, 2.0 - 1e-9);
      EXPECT_TRUE(mode != Mode::kBoth || std::abs(end.maxf / end.minf - 50.0) < 1e-6);
    }
  }
  // A range beyond the strip is held by the ends that are drawn, and comes back.
  const zoom_strip::Range beyond{5.0, 48000.0};
  EXPECT_EQ(strip.modeAt(4.0, beyond), Mode::kLeft);
  EXPECT_NEAR(strip.dragged(Mode::kBoth, beyond, -3.0).minf, 10.0, 1e-9);
  // What is under the mouse stays there, until an end is reached.
  FrequencyAxis axis = kWide;
  for (int notch = 0; notch < 30; ++notch) {
    const double under = axis.frequencyAt(500.0);
    const zoom_strip::Range next = zoom_strip::zoomed(axis, 22050.0, 500.0, 1.0);
    EXPECT_GE(next.maxf / next.minf, 2.0 - 1e-9);
    axis.minf = next.minf;
    axis.maxf = next.maxf;
    EXPECT_NEAR(axis.frequencyAt(500.0), under, 1e-6 * under);
  }
  EXPECT_NEAR(axis.maxf / axis.minf, 2.0, 1e-9);
  EXPECT_EQ(zoom_strip::zoomed(axis, 22050.0, 500.0, -60.0), strip.whole());
}

TEST(GraphPlot, BarHasTheBoxesThatAreMeant) {
  hover_bar::Content content;
  hover_bar::Widths widths{8.0F, {40.0F, 36.0F, 0.0F, 55.0F, 0.0F}};
  const hover_bar::Layout band = hover_bar::layoutOf(content, widths);
  EXPECT_EQ(band.size.y, 44.0F);
  for (std::size_t i = 0; i < band.boxes.size(); ++i) {
    const CRect& box = band.boxes[i];
    const bool isLeftOut = i == hover_bar::kQ || i == hover_bar::kSlope2;
    EXPECT_EQ(box.isEmpty(), isLeftOut) << i;
    if (isLeftOut) continue;
    EXPECT_EQ(hover_bar::boxAt(band.boxes, box.topLeft()), static_cast<int>(i));
    EXPECT_EQ(hover_bar::boxAt(band.boxes, {box.right, box.bottom}), static_cast<int>(i));
    EXPECT_LE(box.right, band.size.x - 3.0F + 0.01F);
  }
  EXPECT_NEAR(band.boxes[hover_bar::kDelete].right, band.size.x - 3.0F, 0.01F);
  EXPECT_NEAR(band.boxes[hover_bar::kSlope].right, band.size.x - 3.0F, 0.01F);
  EXPECT_EQ(hover_bar::boxAt(band.boxes, {0.0F, 0.0F}), -1);
  hover_bar::Boxes both;
  both.fill(hover_bar::kNoBox);
  both[2] = {0, 0, 10, 10};
  both[5] = {10, 0, 20, 10};
  EXPECT_EQ(hover_bar::boxAt(both, {10, 5}), 5) << "the last one that has the point";

  content.isCrossover = true;
  const hover_bar::Layout crossover = hover_bar::layoutOf(content, widths);
  for (const int box : {0, 2, 3, 4, 5, 6, 8}) {
    EXPECT_TRUE(crossover.boxes[static_cast<std::size_t>(box)].isEmpty()) << box;
  }
  EXPECT_FALSE(crossover.boxes[hover_bar::kTitle].isEmpty());
  EXPECT_FALSE(crossover.boxes[hover_bar::kSlope].isEmpty());
}

TEST(GraphPlot, BarStandsBesideItsHandleAndCoversNone) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> x(0.0F, 641.0F);
  std::uniform_real_distribution<float> y(14.0F, 317.0F);
  const CPoint bar{180.0F, 44.0F};
  for (int turn = 0; turn < 200; ++turn) {
    std::vector<CPoint> discs(3);
    for (CPoint& disc : discs) disc = {x(random), y(random)};
    const CPoint at = hover_bar::placeOf(discs[0], bar, {{641.0F, 379.0F}, discs, {}});
    const CRect place{at.x, at.y, at.x + bar.x, at.y + bar.y};
    EXPECT_GE(place.left, 5.5F);
    EXPECT_LE(place.right, 635.5F);
    EXPECT_GE(place.top, 5.5F);
    EXPECT_LE(place.bottom, 327.5F);
    for (const CPoint disc : discs) {
      EXPECT_FALSE(place.inset(-11.0F, -11.0F).contains(disc)) << "turn " << turn;
    }
  }
}

}  // namespace
