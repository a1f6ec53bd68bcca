#include "graphs/eq_graph_scene.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <span>
#include <string>
#include <utility>

#include "core/plug.h"
#include "editing/graph_nodes.h"
#include "editing/parameter_ids.h"
#include "editor/controls/band_tabs.h"
#include "graphs/handles.h"
#include "platform/index.h"
#include "toolkit/look.h"

namespace {

constexpr float kNear = 10.0F;    // around bar and handle, where the bar stays
constexpr float kClear = 11.0F;   // from the bar to its disc, at least
constexpr float kBeside = 48.0F;  // and at most

/// What of a band a picture depends on; its gains are watched by themselves.
constexpr std::array kWatched = {kB1State, kB1Bypass,   kB1Type,      kB1SubType,
                                 kB1Solo,  kB1Position, kB1Frequency, kB1Gain,
                                 kB1Q,     kB1DryGain,  kB1Slope,     kB1Slope2};

}  // namespace

EQGraphScene::EQGraphScene(const ControlSetup& setup, ValueSource& source, Plug& effect)
    : EQGraphBase(setup, source, effect, {}) {
  static_assert(kWatched.size() == kWatchedRows);
  for (auto& samples : snapshot) samples.resize(SpectrumColumns::kSamples);
  hoverBoxes.fill(hover_bar::kNoBox);
  watched.fill(-1.0F);
}

// What it knows.

bool EQGraphScene::isOn(int band, std::int32_t bandOneId) const {
  return plugin.getParameter(bandParameterId(band, bandOneId)) >= 0.5F;
}

bool EQGraphScene::isActive(int band) const { return isBand(band) && isOn(band, kB1State); }

std::uint32_t EQGraphScene::activeOf(std::uint32_t bands) const {
  for (int band = 0; band < kBands; ++band) {
    if (!isActive(band)) bands &= ~(1U << static_cast<std::uint32_t>(band));
  }
  return bands;
}

int EQGraphScene::activeCount() const { return std::popcount(activeOf(~0U >> (32 - kBands))); }

bool EQGraphScene::isAnySoloed() const {
  for (int band = 0; band < kBands; ++band) {
    if (isActive(band) && isOn(band, kB1Solo)) return true;
  }
  return false;
}

bool EQGraphScene::isHeard(int band) const {
  return isActive(band) && !isOn(band, kB1Bypass) && (!isAnySoloed() || isOn(band, kB1Solo));
}

bool EQGraphScene::isSelected(int band) const {
  return isBand(band) && (selectedMask >> band & 1U) != 0;
}

int EQGraphScene::nodeOf(int handle) const {
  if (handle < kBands) return handle;
  return handle - kBands + 1 < static_cast<int>(xover.size()) ? handle : -1;
}

int EQGraphScene::bandOfHandle(int handle) const {
  if (handle < kBands) return handle;
  return nodeOf(handle) >= 0 ? xover[at(handle - kBands)] : -1;
}

void EQGraphScene::setSelectedBand(int band) {
  const bool isChosen = band != selectedBand;
  if (isChosen && isBand(selectedBand)) previousBand = selectedBand;
  EQGraphBase::setSelectedBand(band);
  if (isChosen && isBand(band)) keyHandle = band;
}

bool EQGraphScene::hasChanged() {
  std::array<float, kBands * kWatchedRows + 1> now{};
  std::size_t count = 0;
  for (int band = 0; band < kBands; ++band) {
    for (const int row : kWatched) now[count++] = plugin.getParameter(bandParameterId(band, row));
  }
  now[count] = plugin.getParameter(kSCListen);
  const unsigned layout = plugin.edits().layout().revision();
  const bool isSame = now == watched && layout == watchedLayout;
  watched = now;
  watchedLayout = layout;
  return !isSame;
}

bool EQGraphScene::hasMoved() {
  bool moved = std::exchange(areCurvesMoving, false);
  for (int band = 0; band < kBands; ++band) {
    const double gain = plugin.getBandGraphGain(band);
    if (std::exchange(watchedGains[at(band)], gain) != gain) moved = true;
  }
  if (!analyserOn) return moved;
  if (const std::uint32_t position = plugin.getEngine().analyserFeed().position();
      position != analysedTo) {
    analysedTo = position;
    if (!isSpectrumAtRest()) isSpectrumStale = true;
  }
  return moved || isSpectrumStale;
}

/// Nothing is seen of it, nor will be of the samples that have come.
bool EQGraphScene::isSpectrumAtRest() {
  constexpr double kSilence = 1e-9;  // below the bottom of every range, whatever the tilt
  if (isSeen(analyserLeft) || isSeen(analyserRight)) return false;
  takeSnapshot();
  return std::ranges::all_of(std::span(snapshot).first(SpectrumColumns::kChannels),
                             [](const std::vector<double>& samples) {
                               return std::ranges::none_of(samples, [](double sample) {
                                 return std::abs(sample) > kSilence;
                               });
                             });
}

bool EQGraphScene::isSeen(std::span<const double> heights) const {
  constexpr double kSeenParts = 8.0;  // of a pixel
  const double least = 1.0 / (kSeenParts * std::max(levels.height, 1));
  return std::ranges::any_of(heights, [least](double height) { return height > least; });
}

// Curves, spectrum and handles.

void EQGraphScene::rebuild() {
  EQGraphBase::rebuild();
  axisChanged();
}

void EQGraphScene::axisChanged() {
  isSpectrumStale = true;
  // Heights go on falling as long as each column stays where it is.
  if (std::exchange(spectrumAxis, frequencies) == frequencies) return;
  analyserLeft.assign(at(frequencies.width), 0.0);
  analyserRight.assign(at(frequencies.width), 0.0);
}

void EQGraphScene::updateAnalyser() {
  if (spectrumAxis != frequencies) axisChanged();
  analysedTo = plugin.getEngine().analyserFeed().position();
  spectrum.set({frequencies.width, frequencies.minf, frequencies.maxf, static_cast<float>(nyquist),
                preferences.analyserTop, preferences.analyserRange, preferences.analyserTilt,
                preferences.decayFactor(), preferences.analyserSmoothing});
  takeSnapshot();
  spectrum.update({snapshot[0], snapshot[1]}, {analyserLeft, analyserRight});
}

void EQGraphScene::takeSnapshot() {
  double* const buffers[] = {snapshot[0].data(), snapshot[1].data(), snapshot[2].data(),
                             snapshot[3].data()};
  plugin.getAnalyserData(buffers, static_cast<int>(SpectrumColumns::kSamples));
}

void EQGraphScene::advance() {
  if (analyserOn && std::exchange(isSpectrumStale, false)) updateAnalyser();
  if (areCurvesMoving) isStale = true;
}

void EQGraphScene::placeHandles() {
  BandLayout& layout = plugin.edits().layout();
  const BandLayout::List list = layout.copyOf(layout.xover);
  xover.assign(list.begin(), list.end());
  BandCurves::Settings settings;
  settings.axis = frequencies;
  settings.grDecay = static_cast<double>(grDecay);
  settings.measured = preferences.showsMeasured;
  settings.lowest = -levels.range;
  areCurvesMoving = curves.update(plugin, settings);
  for (int band = 0; band < kBands; ++band) handles[at(band)] = bandHandle(band);
  placeCrossovers();
  if (hoverBand < 0) return;
  if (isHandle(hoverBand) && handleOf(hoverBand).isActive) {
    placeBar();
  } else {
    showBar(-1);
  }
}

graph_handles::Handle EQGraphScene::bandHandle(int band) {
  graph_handles::Handle made;
  made.isActive = isActive(band);
  if (!made.isActive) return made;
  made.isRunning = curves.runs(band);
  const auto frequency = static_cast<double>(getBandValue(kNodeFrequency, band));
  const auto setGain = static_cast<double>(getBandValue(kNodeGain, band));
  const double own = graph_handles::decibels(plugin.getBandResponse(band, frequency));
  const double change = isHeard(band) ? curves.liveGain(band) - curves.setGain(band) : 0.0;
  made.centre = {frequencies.clampedColumnOf(frequency), levels.rowOf(own + setGain + change)};
  made.setRow = levels.rowOf(own + setGain);
  made.targetRow = levels.rowOf(setGain);
  return made;
}

void EQGraphScene::placeCrossovers() {
  for (int handle = kBands; handle < kHandles; ++handle) {
    graph_handles::Handle& made = handles[at(handle)];
    made = {};
    if (nodeOf(handle) < 0) continue;
    const auto place = at(handle - kBands);
    const auto frequencyOf = [this](int band) {
      return static_cast<double>(getBandValue(kNodeFrequency, band));
    };
    made.isActive = made.isRunning = true;
    made.centre.x = frequencies.clampedColumnOf(graph_handles::crossoverFrequency(
        frequencyOf(xover[place]), frequencyOf(xover[place + 1])));
    made.centre.y = levels.rowOf(graph_handles::crossoverLevel(levels.range));
    made.setRow = made.targetRow = made.centre.y;
  }
}

int EQGraphScene::handleAt(CPoint where) {
  const int hit = getNearestBand(where);
  if (hit >= 0) return hit;
  for (int handle = 0; handle < kHandles; ++handle) {
    const graph_handles::Handle& own = handleOf(handle);
    if (!own.isActive) continue;
    const CPoint disc = discOf(handle);
    const bool isAway = disc != fromPlot(own.centre);
    if (!isAway || std::hypot(where.x - disc.x, where.y - disc.y) >=
                       static_cast<float>(graph_handles::kReach)) {
      continue;
    }
    grabOffset = static_cast<double>(where.x - disc.x);
    return handle;
  }
  return -1;
}

// The bar.

hover_bar::Content EQGraphScene::barContent(int handle) const {
  hover_bar::Content content;
  const int flags = getBandFlags(handle);
  const auto textOf = [&](int field) {
    return values.textOf(bandParameter(hover_bar::kFieldKinds[at(field)], handle));
  };
  const auto write = [&](int box) {
    content.values[at(box - hover_bar::kFrequency)] = textOf(box - hover_bar::kFrequency);
  };
  if (handle >= kBands) {
    content.isCrossover = true;
    content.title = "XOVER";
    write(hover_bar::kSlope);
    return content;
  }
  content.title = std::to_string(handle + 1);
  content.kind = BandTabState::read(values, handle).kind;
  write(hover_bar::kFrequency);
  write(hover_bar::kGain);
  if ((flags & kNodeHasQ) != 0) write(hover_bar::kQ);
  if ((flags & kNodeHasSlope) != 0) write(hover_bar::kSlope);
  if ((flags & kNodeHasSlope2) != 0) write(hover_bar::kSlope2);
  return content;
}

/// It stays where it is while the mouse is on it, and as long as it is beside its disc and leaves
/// that free: sound moves discs all the time.
bool EQGraphScene::keepsBarPlace() const {
  if (barSize.x <= 0.0F) return false;
  const CPoint cursor{static_cast<float>(cursorX), static_cast<float>(cursorY)};
  if (isCursorIn && drag == Drag::kNone && isOnBar(frameToLocal(cursor))) return true;
  const CPoint disc = discOf(hoverBand);
  return !barPlace().inset(-kClear, -kClear).contains(disc) &&
         barPlace().inset(-kBeside, -kBeside).contains(disc);
}

CPoint EQGraphScene::freeBarPlace(CPoint barIs) const {
  std::vector<CPoint> discs;
  std::vector<CPoint> rings;
  for (int handle = 0; handle < kHandles; ++handle) {
    if (!handleOf(handle).isActive) continue;
    const CPoint disc = discOf(handle) - size.topLeft();
    discs.push_back(disc);
    rings.push_back({disc.x, static_cast<float>(handleOf(handle).setRow)});
  }
  return hover_bar::placeOf(discOf(hoverBand) - size.topLeft(), barIs,
                            {{size.width(), size.height()}, discs, rings});
}

void EQGraphScene::placeBar() {
  const bool isPlaced = isHandle(hoverBand) && keepsBarPlace();
  hoverBoxes.fill(hover_bar::kNoBox);
  barSize = {};
  if (!isHandle(hoverBand) || !handleOf(hoverBand).isActive) return;
  barShown = barContent(hoverBand);
  const TextStyle style = look::bold(look::kSmallTextSize, look::kText);
  hover_bar::Widths widths;
  widths.title = look::widthOf(style, barShown.title);
  for (std::size_t i = 0; i < widths.values.size(); ++i) {
    widths.values[i] = look::widthOf(style, barShown.values[i]);
  }
  const hover_bar::Layout layout = hover_bar::layoutOf(barShown, widths);
  barSize = layout.size;
  if (!isPlaced) barCorner = freeBarPlace(barSize);
  for (std::size_t i = 0; i < hoverBoxes.size(); ++i) {
    const CRect& box = layout.boxes[i];
    if (!box.isEmpty()) hoverBoxes[i] = box.movedBy(barPlace().topLeft());
  }
}

void EQGraphScene::showBar(int handle) {
  hotBox = -1;
  if (handle == hoverBand) return;
  setHover(handle);
  barSize = {};
  placeBar();
}

CRect EQGraphScene::barPlace() const {
  const CPoint corner = barCorner + size.topLeft();
  return {corner.x, corner.y, corner.x + barSize.x, corner.y + barSize.y};
}

bool EQGraphScene::isOnBar(CPoint where) const {
  return isHandle(hoverBand) && barSize.x > 0.0F && barPlace().contains(where);
}

/// On the bar, or on the way to it from the handle.
bool EQGraphScene::isNearBar(CPoint where) const {
  if (!isHandle(hoverBand) || barSize.x <= 0.0F) return false;
  if (barPlace().inset(-kNear, -kNear).contains(where)) return true;
  const CPoint disc = fromPlot(handleOf(hoverBand).centre);
  const CRect bar = barPlace();
  const float top = std::min(disc.y, bar.bottom);
  const float bottom = std::max(disc.y, bar.top);
  return CRect{disc.x - kNear, top, disc.x + kNear, bottom}.contains(where);
}

std::int32_t EQGraphScene::tagAt(CPoint where) {
  if (!isOnBar(where)) {
    const int handle = handleAt(where);
    return handle >= 0 ? bandParameter(kNodeFrequency, handle) : -1;
  }
  const int box = hover_bar::boxAt(hoverBoxes, where);
  const int band = bandOfHandle(hoverBand);
  switch (box) {
    case hover_bar::kPower:
      return bandParameterId(band, kB1Bypass);
    case hover_bar::kTitle:
      return bandParameterId(band, kB1Type);
    case hover_bar::kKind:
      return bandParameterId(band, kB1SubType);
    case hover_bar::kDelete:
      return bandParameterId(band, kB1State);
    default:
      return box < 0 ? -1
                     : bandParameter(hover_bar::kFieldKinds[at(box - hover_bar::kFrequency)],
                                     hoverBand);
  }
}

/// Clear of the strip and of all edges, wherever the handle itself is.
CPoint EQGraphScene::discOf(int handle) const {
  const graph_handles::Handle& own = handleOf(handle);
  const double row = graph_handles::liftedDisc(own.centre.y, levels.height).row;
  const double margin = graph_handles::kFromEdge;
  const double column = std::clamp(own.centre.x, std::min(margin, frequencies.width * 0.5),
                                   std::max(frequencies.width - margin, frequencies.width * 0.5));
  return fromPlot({column, row});
}
