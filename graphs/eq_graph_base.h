#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dynamics/analyser_feed.h"
#include "editor/controls/hidden_mouse.h"
#include "editor/controls/value_part.h"
#include "editor/controls/value_text.h"
#include "editor/controls/with_hover.h"
#include "graphs/frequency_axis.h"
#include "graphs/graph_pictures.h"
#include "graphs/graph_preferences.h"
#include "graphs/handles.h"
#include "graphs/level_axes.h"
#include "graphs/zoom_strip.h"
#include "toolkit/control.h"

class Plug;

/// A frequency graph with handles: the ground, the axes, the strip that zooms, readouts, the entry
/// of values where they stand, and what handles have in common. A handle is one of 0..2 *
/// `numBands` - 1, and stands for a node of the effect (see `editing/graph_nodes.h`). What is drawn
/// is worked out when it has changed; a graph that shows nothing new asks for no drawing.
///
/// Threads: as `CView`; `draw` on the thread that draws, under the frame's lock.
class EQGraphBase : public CControl,
                    public nControlMouse,
                    public nCanFocus,
                    public CControlListener {
 public:
  /// Bits of `drawFlags`.
  enum DrawFlag : std::uint32_t {
    kInvertedQ = 0x400,
    kShowsHelp = 0x1000,  ///< the same in all graphs of an editor
    kRedInput = 0x20000,
  };
  struct Options {
    int numBands = 8;
    float labelSize = 10.0F;
    std::uint32_t drawFlags = 0;
    std::uint32_t curveFlags = 0;
    bool hasAxes = true;  ///< figures and the strip
  };

  EQGraphBase(const ControlSetup& setup, ValueSource& values, Plug& effect, Options options);

  // What the editor tells it.
  void setPreferences(const GraphPreferences& chosen);
  void setAnalyser(bool on);
  virtual void setSelectedBand(int band);
  void setSelectedMask(std::uint32_t mask);
  void setDrawFlags(std::uint32_t flags);
  void setCurveFlags(std::uint32_t flags);
  [[nodiscard]] std::uint32_t getDrawFlags() const noexcept { return drawFlags; }
  void setGrDecay(double share);
  virtual void setRange(float dB);  ///< to either side
  void redrawLabels(bool now);
  /// The range of frequencies, as the document has it; kept as it is read.
  void loadExtras();
  void saveExtras();

  // What it knows of its nodes.
  [[nodiscard]] virtual int getBandCount() const { return numBands; }
  /// The effect's number of a handle's node; -1 for a handle that has none now.
  [[nodiscard]] virtual int nodeOf(int handle) const = 0;
  [[nodiscard]] float getBandValue(int kind, int handle) const;
  [[nodiscard]] std::int32_t bandParameter(int kind, int handle) const;
  [[nodiscard]] int getBandFlags(int handle) const;
  [[nodiscard]] virtual Cursor getBandCursor(int handle, CButtonState modifiers) const;
  /// The active handle nearest to a point of the container, -1 for none. Keeps how far beside it
  /// the point lies, for a drag.
  int getNearestBand(CPoint where, double limit = graph_handles::kReach * graph_handles::kReach);
  [[nodiscard]] const graph_handles::Handle& handleOf(int handle) const {
    return handles[static_cast<std::size_t>(handle)];
  }
  [[nodiscard]] const FrequencyAxis& frequencyAxis() const noexcept { return frequencies; }
  [[nodiscard]] const LevelAxis& levelAxis() const noexcept { return levels; }
  /// The parameter that a point of the container stands for, for the help line; -1 for none.
  [[nodiscard]] virtual std::int32_t tagAt(CPoint where);

  void draw(CDrawContext& context) override;
  void setViewSize(const CRect& rect, bool invalidates = true) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  void onMouseEntered(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  void takeFocus() override;
  void looseFocus() override;
  [[nodiscard]] bool isTabStop() const override { return true; }
  [[nodiscard]] bool hasFocus() const override { return focused; }
  void attached(CViewContainer& holder) override;
  void removed() override;
  void onIdle() override;

  /// Of the entry of a value.
  void valueChanged(CControl& control) override;
  bool controlModifierClicked(CControl& control, CButtonState buttons) override;
  using CControl::valueChanged;

 protected:
  ~EQGraphBase() override;

  /// All that depends on size, rate and axes is made anew.
  virtual void rebuild();
  /// The handles are where their nodes are now.
  virtual void placeHandles() = 0;
  /// Whether what is shown differs from what was drawn last; called often, must be cheap.
  virtual bool hasChanged() = 0;
  /// The same for what the sound moves: drawn again no more than 60 times a second.
  virtual bool hasMoved() { return false; }
  /// The range of frequencies or levels is another one.
  virtual void axisChanged() {}
  /// What moves by itself goes on; once per drawing, before the handles are placed.
  virtual void advance() {}

  // The steps of a drawing, from back to front.
  virtual void drawAnalyser(CDrawContext& /*context*/) {}
  virtual void drawResponse(CDrawContext& /*context*/) {}
  virtual void drawBands(CDrawContext& /*context*/) {}
  virtual void drawGrid(CDrawContext& context);
  virtual void drawReadout(CDrawContext& /*context*/) {}
  virtual void drawHandles(CDrawContext& /*context*/) {}

  // Values of nodes, written by the way of a user's edit.
  void beginEdit(std::int32_t id);
  void endEdit(std::int32_t id);
  void write(std::int32_t id, float normalised);
  void writePlain(std::int32_t id, double plain);
  /// A whole edit.
  void edit(std::int32_t id, float normalised);
  /// Something other than a value is told to the listener.
  void tell(std::int32_t id, int what, const CRect& place = {});
  /// One notch or more of Q, as a whole edit.
  void turnQ(int handle, float notches, bool fine);

  /// Gives the keys to the next active handle, by columns, or the one before; -1 where each has had
  /// them since the graph has.
  int nextHandle(bool forward);
  /// By how much the left and the right key, with Shift less, move a frequency: by `columns`.
  [[nodiscard]] double keyFactor(const KeyEvent& key, double columns) const;
  /// Up, down and the pages.
  [[nodiscard]] static bool isGainKey(const KeyEvent& key);
  /// The arrow keys move a node's frequency and gain.
  bool moveByKey(int handle, const KeyEvent& key, double columns);

  void openTextEdit(int kind, int handle, const CRect& place, CPoint where, CButtonState buttons);
  void closeTextEdit();
  [[nodiscard]] bool isTextOpen() const;

  void showRange(zoom_strip::Range range);
  [[nodiscard]] zoom_strip::Strip strip() const;
  [[nodiscard]] zoom_strip::Range shownRange() const {
    return {frequencies.minf, frequencies.maxf};
  }
  [[nodiscard]] graph_handles::Point toPlot(CPoint where) const;
  [[nodiscard]] CPoint fromPlot(graph_handles::Point point) const;
  [[nodiscard]] bool isHandle(int handle) const { return handle >= 0 && handle < 2 * numBands; }
  void freshenHandles();
  void setHover(int handle);
  [[nodiscard]] float hoverShare() const noexcept { return hoverFade.share(); }
  void drawStrip(CDrawContext& context);

  Plug& plugin;
  ValueSource& values;
  const int numBands;
  std::uint32_t drawFlags;
  std::uint32_t curveFlags;
  GraphPreferences preferences;
  FrequencyAxis frequencies;
  LevelAxis levels{3.0, 0};
  AnalyserAxis analyserAxis;
  double nyquist = 22050.0;
  bool analyserOn = false;
  std::optional<AnalyserReader> analysed;  // while it is on
  float grDecay = 1.0F;
  int cursorX = -1;  // in the frame
  int cursorY = -1;
  bool isCursorIn = false;
  int selectedBand = -1;
  int hoverBand = -1;
  int dragBand = -1;
  std::uint32_t selectedMask = 0;
  int keyHandle = -1;       // the one that the keys move
  std::size_t walked = 0;   // handles that Tab has been on since the graph has the keys
  double grabOffset = 0.0;  // columns from the handle to the press
  std::vector<graph_handles::Handle> handles;
  bool isStale = true;  // handles and curves are worked out before they are drawn or met

 private:
  struct Texts {
    std::vector<std::pair<std::string, CRect>> frequencies;
    std::vector<std::pair<std::string, CRect>> levels;
    std::vector<std::pair<std::string, CRect>> analyser;
  };
  void placeTexts();
  void drawTexts(CDrawContext& context);
  void rangeChanged();
  [[nodiscard]] double nyquistNow() const;

  const bool hasAxes;
  TextStyle labelStyle;
  Texts texts;  // in the container
  bool areTextsStale = true;
  GridPicture grid;
  BoxPicture focusRing;
  BoxPicture leftGrip;
  BoxPicture rightGrip;
  HoverFade hoverFade;
  HoverFade stripFade;
  bool isStripHot = false;
  bool focused = false;
  zoom_strip::Mode stripMode = zoom_strip::Mode::kNone;
  zoom_strip::Range stripStart{};
  double stripFrom = 0.0;   // column of the mouse
  double stripMoved = 0.0;  // columns since the press; slow moves count less
  bool isStripDragged = false;
  std::uint64_t nextFrame = 0;  // ms
  Held<CEQText> textEdit;
  int textHandle = 0;
  bool isTextPressed = false;
  bool wasTextMoved = false;
};
