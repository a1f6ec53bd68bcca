#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "editor/control_index.h"
#include "editor/controls/value_source.h"
#include "editor/element_factory.h"
#include "host/aeff_editor.h"
#include "toolkit/cg_frame.h"
#include "toolkit/frame_dialogs.h"
#include "toolkit/kept_resources.h"

class Globals;
class Plug;

/// The preference "OpenGL"; on where nothing is stored.
[[nodiscard]] bool prefersOpenGl(const Globals& globals);

/// How a surface is shown.
struct ShownHow {
  std::optional<bool> usesOpenGl;  ///< none: as the user preferred when the process first asked
  CFrame::Clock clock;             ///< milliseconds; empty for the system's
};

/// The editor of an effect whose surface a layout document describes. Threads: the message thread,
/// but for `setParameter`, which any may call and which only leaves a mark.
class VGEditor : public AEffEditor,
                 public VSTGUIEditorInterface,
                 public CControlListener,
                 public ValueSource {
 public:
  explicit VGEditor(Plug& effect);
  ~VGEditor() override;

  bool getRect(ERect** rect) override;
  bool open(void* parentWindow) override;
  /// In a window of its own.
  [[nodiscard]] bool openTop(const std::string& title);
  /// With no window, for pictures.
  [[nodiscard]] bool openOffScreen(float deviceScale);
  void close() override;
  [[nodiscard]] bool isOpen() const override { return frame.get() != nullptr; }
  void idle() override;
  void setParameter(std::int32_t index, float normalised) override;
  bool onKeyDown(const VstKeyCode& key) override;
  bool onKeyUp(const VstKeyCode& key) override;
  void setFrameCallback(iVSTFrameCallbackInterface* callback) override { heardBy = callback; }
  void effectClosed() override { close(); }

  /// For the next `open`.
  void showBy(ShownHow how) { shownHow = std::move(how); }

  // VSTGUIEditorInterface
  void beginEdit(std::int32_t tag) override;
  void endEdit(std::int32_t tag) override;
  [[nodiscard]] CFrame* getFrame() const override { return frame.get(); }
  void frameCallback(std::int32_t code, void* data) override;

  // CControlListener: of a parameter's control.
  void valueChanged(CControl& control) override;

  // ValueSource
  [[nodiscard]] std::string nameOf(std::int32_t tag) const override;
  [[nodiscard]] std::string textOf(std::int32_t tag) const override;
  [[nodiscard]] float valueOf(std::int32_t tag) const override;
  [[nodiscard]] float defaultOf(std::int32_t tag) const override;
  [[nodiscard]] float plainOf(std::int32_t tag, float normalised) const override;
  [[nodiscard]] float normalisedOf(std::int32_t tag, float plain) const override;
  [[nodiscard]] ValueSteps stepsOf(std::int32_t tag) const override;
  void setValueFromText(std::int32_t tag, std::string_view text) override;
  [[nodiscard]] std::int32_t preference(const char* key) const override;

  [[nodiscard]] ControlIndex& index() noexcept { return controls; }
  [[nodiscard]] CGFrame* shownFrame() const noexcept { return frame.get(); }

 protected:
  [[nodiscard]] Plug& effect() const noexcept { return plug; }
  /// Boxes and choices of files in the window; null while there is none.
  [[nodiscard]] Dialogs* dialogs() const noexcept { return boxes.get(); }
  /// The views are there, the index is not.
  virtual void viewsBuilt() {}
  /// The index is there: places and values come next.
  virtual void layoutEditor() {}
  /// Before `close`, all views still there.
  virtual void viewsClose() {}
  /// A value that has changed outside of the editor is shown.
  virtual void parameterShown(std::int32_t /*tag*/) {}
  /// After all that have changed.
  virtual void parametersShown() {}
  /// Gives a value to every control of a tag.
  void showValue(std::int32_t tag, float value);
  /// The window is to have another size, in unzoomed pixels and a zoom.
  void resizeSurface(float width, float height, float zoom);

 private:
  [[nodiscard]] Held<CGFrame> createFrame();
  [[nodiscard]] bool build();
  void loadLayout();
  void showChangedParameters();
  [[nodiscard]] bool opened(bool isShown);

  static constexpr int kMarkBits = 32;
  static constexpr int kMarkWords = 14;  // for 422 parameters

  KeptResources kept;  // goes last, after all that holds some
  Plug& plug;
  ShownHow shownHow;
  ElementFactory factory{*this, *this, plug};
  Held<CGFrame> frame;
  std::unique_ptr<FrameDialogs> boxes;  // of `frame`
  ControlIndex controls;
  ERect rect{0, 0, 295, 755};
  iVSTFrameCallbackInterface* heardBy = nullptr;
  bool closeWanted = false;
  std::array<std::atomic<std::uint32_t>, kMarkWords> changedParameters{};
};
