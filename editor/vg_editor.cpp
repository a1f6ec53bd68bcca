#include "editor/vg_editor.h"

#include <algorithm>
#include <bit>
#include <exception>
#include <mutex>
#include <string_view>
#include <utility>

#include "core/parameter_table.h"
#include "core/plug.h"
#include "editor/controls/tiled_menus.h"
#include "editor/layout/layout_tree.h"
#include "editor/layout/walker.h"
#include "editor/typed_value.h"
#include "graphs/opengl/ogl_frame.h"
#include "host/alerts.h"
#include "platform/clock.h"
#include "platform/resources.h"
#include "state/machine.h"

bool prefersOpenGl(const Globals& globals) { return globals.getGlobal("OpenGL", 1) != 0; }

namespace {

/// Asked once: all windows of a process are drawn alike, whatever is stored meanwhile.
bool isOpenGlPreferred() {
  static const bool isPreferred = prefersOpenGl(getGlobals());
  return isPreferred;
}

}  // namespace

VGEditor::VGEditor(Plug& shown) : plug(shown) {}

VGEditor::~VGEditor() { VGEditor::close(); }

bool VGEditor::getRect(ERect** result) {
  if (result == nullptr) return false;
  *result = &rect;
  return true;
}

Held<CGFrame> VGEditor::createFrame() {
  CFrame::Clock clock = shownHow.clock ? shownHow.clock : CFrame::Clock(&monotonicMilliseconds);
  const CRect size{0.0F, 0.0F, static_cast<float>(rect.right), static_cast<float>(rect.bottom)};
  if (shownHow.usesOpenGl ? *shownHow.usesOpenGl : isOpenGlPreferred()) {
    return Held<CGFrame>::adopt(new OGLFrame(size, this, std::move(clock)));
  }
  return Held<CGFrame>::adopt(new CGFrame(size, this, std::move(clock)));
}

void VGEditor::loadLayout() {
  const LayoutTree tree(findResource("xml", "ui"));
  createViews(tree.root().child, frame.get(), factory);
}

bool VGEditor::build() {
  if (frame) return false;
  closeWanted = false;
  frame = createFrame();
  boxes = std::make_unique<FrameDialogs>(*frame);
  const std::lock_guard guard(frame->treeLock());
  loadLayout();
  viewsBuilt();
  controls.build(*frame);
  layoutEditor();
  return true;
}

bool VGEditor::opened(bool isShown) {
  if (!isShown) close();
  return isShown;
}

bool VGEditor::open(void* parentWindow) {
  return build() && opened(frame->open(reinterpret_cast<std::uintptr_t>(parentWindow)));
}

bool VGEditor::openTop(const std::string& title) {
  return build() && opened(frame->openTop(title));
}

bool VGEditor::openOffScreen(float deviceScale) {
  if (!build()) return false;
  frame->openOffScreen(deviceScale);
  return true;
}

void VGEditor::close() {
  const Held<CGFrame> closing = frame;
  if (!closing) return;
  {
    const std::lock_guard guard(closing->treeLock());
    viewsClose();
  }
  closing->close();
  controls.clear();
  boxes.reset();  // after the frame: answers to what was open may have asked again
  frame = {};
}

void VGEditor::idle() {
  const Held<CGFrame> shown = frame;
  if (!shown) return;
  showChangedParameters();
  shown->idle();
  if (closeWanted) close();
  if (boxes != nullptr) Alerts::instance().show(*boxes);
}

void VGEditor::setParameter(std::int32_t index, float /*normalised*/) {
  if (index < 0 || index >= kNumParams) return;
  const auto word = static_cast<std::size_t>(index / kMarkBits);
  changedParameters[word].fetch_or(1U << (index % kMarkBits), std::memory_order_release);
}

void VGEditor::showChangedParameters() {
  const std::lock_guard guard(frame->treeLock());
  for (int word = 0; word < kMarkWords; ++word) {
    std::uint32_t bits =
        changedParameters[static_cast<std::size_t>(word)].exchange(0, std::memory_order_acquire);
    for (; bits != 0; bits &= bits - 1) {
      const std::int32_t tag = word * kMarkBits + std::countr_zero(bits);
      showValue(tag, plug.getParameter(tag));
      parameterShown(tag);
    }
  }
  parametersShown();
}

void VGEditor::showValue(std::int32_t tag, float value) {
  controls.forEach(tag, [value](CControl& control) {
    control.setValue(value);
    control.setDirty(true);
  });
}

void VGEditor::resizeSurface(float width, float height, float zoom) {
  rect.right = static_cast<std::int16_t>(devicePixels(width, zoom));
  rect.bottom = static_cast<std::int16_t>(devicePixels(height, zoom));
  if (!frame) return;
  frame->setZoom(zoom);
  frame->setSize(width, height);
  if (heardBy != nullptr) heardBy->onFrameEvent(kFrameSizeChanged, -1);
}

namespace {

bool isParameter(std::int32_t tag) { return tag >= 0 && tag < kNumParams; }

KeyEvent keyOf(const VstKeyCode& code) {
  KeyEvent key;
  key.key = static_cast<Key>(code.virt);
  const bool isCapital = code.character >= 'A' && code.character <= 'Z';
  key.character = static_cast<char32_t>(std::max(code.character, 0) + (isCapital ? 'a' - 'A' : 0));
  if (code.character >= 32 && code.character < 127) {
    key.text = static_cast<char>(code.character);
  }
  std::uint32_t held = 0;
  if ((code.modifier & kVstModifierShift) != 0) held |= kShift;
  if ((code.modifier & kVstModifierAlternate) != 0) held |= kAlt;
  if ((code.modifier & kVstModifierCommand) != 0) held |= kControl;
  if ((code.modifier & kVstModifierControl) != 0) held |= kApple;
  key.modifiers = held;
  return key;
}

}  // namespace

bool VGEditor::onKeyDown(const VstKeyCode& key) {
  const Held<CGFrame> shown = frame;
  return shown && key.virt != kVstKeyTab && shown->onKeyDown(keyOf(key));
}

bool VGEditor::onKeyUp(const VstKeyCode& key) {
  const Held<CGFrame> shown = frame;
  return shown && key.virt != kVstKeyTab && shown->onKeyUp(keyOf(key));
}

void VGEditor::beginEdit(std::int32_t tag) {
  if (isParameter(tag)) plug.beginEdit(tag);
}

void VGEditor::endEdit(std::int32_t tag) {
  if (isParameter(tag)) plug.endEdit(tag);
}

void VGEditor::frameCallback(std::int32_t code, void* /*data*/) {
  // From within an event of the window, which it outlives.
  if (code == kFrameDestroyed || code == kFrameCloseAsked) closeWanted = true;
}

void VGEditor::valueChanged(CControl& control) {
  const std::int32_t tag = control.getTag();
  if (isParameter(tag)) plug.setParameterAutomated(tag, control.getValue());
}

std::string VGEditor::nameOf(std::int32_t tag) const {
  if (!isParameter(tag)) return {};
  std::array<char, PlugBase::kParameterTextCapacity> text{};
  plug.getParameterName(tag, text.data());
  std::string name(text.data());
  if (isBandParameter(tag)) name.erase(0, name.find(' ') + 1);
  std::ranges::transform(name, name.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return name;
}

std::string VGEditor::textOf(std::int32_t tag) const {
  if (!isParameter(tag)) return {};
  std::array<char, PlugBase::kParameterTextCapacity> text{};
  plug.getParameterDisplay(tag, text.data());
  return text.data();
}

float VGEditor::valueOf(std::int32_t tag) const { return plug.getParameter(tag); }

float VGEditor::defaultOf(std::int32_t tag) const {
  return isParameter(tag) ? plug.getParameterDefault(tag) : 0.0F;
}

float VGEditor::plainOf(std::int32_t tag, float normalised) const {
  return isParameter(tag) ? plug.normalisedToPlain(tag, normalised) : 0.0F;
}

float VGEditor::normalisedOf(std::int32_t tag, float plain) const {
  return isParameter(tag) ? plug.plainToNormalised(tag, plain) : 0.0F;
}

ValueSteps VGEditor::stepsOf(std::int32_t tag) const {
  if (!isParameter(tag)) return {};
  const ParameterRecord& record = plug.parameterInfo(tag);
  return {record.curve, record.min, record.max, plug.getStepCount(tag)};
}

void VGEditor::setValueFromText(std::int32_t tag, std::string_view text) {
  if (!isParameter(tag)) return;
  const TypedValueRules rules{plug.getPlainValue(kExtendedRatios) != 0.0F,
                              static_cast<int>(plug.getPlainValue(kExtendedRanges))};
  beginEdit(tag);
  CTagUpdate::send(*this, tag, normalisedOf(tag, typedValue(tag, text, rules)));
  endEdit(tag);
}

std::int32_t VGEditor::preference(const char* key) const {
  return plug.machine().globals().getGlobal(key);
}
