#include "apps/editor/editor_session.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>
#include <vector>

#include "apps/audio_files/audio_reader.h"
#include "apps/editor/png_bytes.h"
#include "apps/editor/view_list.h"
#include "apps/output/failure.h"
#include "apps/output/json_output.h"
#include "apps/output/output_files.h"
#include "editor/controls/pages.h"
#include "editor/layout/tag_table.h"
#include "graphs/opengl/gl_picture.h"

namespace {

constexpr std::int64_t kIdleMs = 10;
constexpr double kLongestSeconds = 600.0;

}  // namespace

AudioExcerpt AudioExcerpt::read(const std::string& path, double seconds) {
  AudioReader reader(path);
  AudioExcerpt excerpt{reader.sampleRate(), reader.channels(), {}};
  constexpr int kBlock = 4096;
  const auto channels = static_cast<std::size_t>(excerpt.channels);
  std::vector<double> block(kBlock * channels);
  auto left = static_cast<std::int64_t>(std::min(seconds, kLongestSeconds) * excerpt.rate);
  while (left > 0) {
    const int frames =
        reader.read(block.data(), static_cast<int>(std::min<std::int64_t>(left, kBlock)));
    if (frames == 0) break;
    const std::size_t count = static_cast<std::size_t>(frames) * channels;
    excerpt.samples.insert(excerpt.samples.end(), block.data(), block.data() + count);
    left -= frames;
  }
  return excerpt;
}

EditorSession::EditorSession(const EffectSetup& setup, const EditorView& view,
                             const AudioExcerpt& audio)
    : runner(setup, audio.rate, audio.channels, 0,
             [this](Plug& plug) {
               auto made = std::make_unique<PlugEd>(plug);
               editor = made.get();
               return made;
             }),
      isPlain(view.isPlain) {
  editor->showBy({false, [this] { return now; }});
  showAs(view);
  hear(audio, setup.blockFrames);
  wait(kIdleMs);
}

EditorSession::~EditorSession() = default;

void EditorSession::showAs(const EditorView& view) {
  EditorState& state = runner.effect().editorState();
  state.wantedUimode = view.mode;
  state.currentBand = view.band;
  state.selectedBands = 1U << view.band;
  state.shownBands = 1U << view.band;
  state.zoom = view.zoom;
  state.freeWidth = static_cast<int>(view.zoom * EditorState::widthOf(view.mode));
  if (!editor->openOffScreen(static_cast<float>(view.deviceScale))) {
    throw Failure("the editor cannot be opened");
  }
  if (view.setupPage >= 0) editor->openSetup(view.setupPage);
}

void EditorSession::hear(const AudioExcerpt& audio, int blockFrames) {
  const auto channels = static_cast<std::size_t>(audio.channels);
  const std::size_t block = static_cast<std::size_t>(blockFrames) * channels;
  std::vector<double> out(block);
  double passed = 0.0;  // ms
  for (std::size_t done = 0; done < audio.samples.size(); done += block) {
    const std::size_t count = std::min(block, audio.samples.size() - done);
    const auto frames = static_cast<int>(count / channels);
    runner.process(audio.samples.data() + done, nullptr, frames, out.data());
    passed += 1000.0 * frames / audio.rate;
    for (; passed >= static_cast<double>(kIdleMs); passed -= static_cast<double>(kIdleMs)) {
      wait(kIdleMs);
    }
  }
}

void EditorSession::wait(std::int64_t milliseconds) {
  while (milliseconds > 0) {
    const std::int64_t step = std::min(milliseconds, kIdleMs);
    now += static_cast<std::uint64_t>(step);
    milliseconds -= step;
    runner.effect().onIdle();
    editor->idle();
  }
}

DevicePoint EditorSession::devicePlace(const EventPlace& place) const {
  CPoint point{static_cast<float>(place.x), static_cast<float>(place.y)};
  if (place.tag != EventPlace::kNoTag) {
    const CView* found = nullptr;
    editor->index().forEach(place.tag, [&found](CControl& control) {
      auto* const wrapper = dynamic_cast<iControlWrapper*>(&control);
      const CView& view = wrapper != nullptr ? wrapper->wrapped().asView() : control;
      if (found == nullptr && view.isShown()) found = &view;
    });
    if (found == nullptr) {
      const std::string name(tagTable().nameOf(place.tag));
      throw Failure("no control " + (name.empty() ? std::to_string(place.tag) : name) +
                    " is shown");
    }
    point = point + found->localToFrame(found->getViewSize().centre());
  }
  const auto scale = static_cast<double>(editor->shownFrame()->getScale());
  return {static_cast<double>(point.x) * scale, static_cast<double>(point.y) * scale};
}

void EditorSession::press(const ScriptEvent& event) {
  WindowListener& window = editor->shownFrame()->events();
  const DevicePoint where = devicePlace(event.place);
  window.mouseMoved(where, held.all() | event.modifiers.modifiers());
  held = held.all() | event.button | event.modifiers.modifiers();
  window.mouseDown(where, event.button, held.all() | event.modifiers.all());
}

void EditorSession::play(const ScriptEvent& event) {
  if (editor->shownFrame() == nullptr) throw Failure("the editor is closed");
  WindowListener& window = editor->shownFrame()->events();
  const CButtonState keys = event.modifiers.modifiers();
  switch (event.kind) {
    case ScriptEvent::Kind::kMove:
    case ScriptEvent::Kind::kDrag:
      window.mouseMoved(devicePlace(event.place), held.all() | keys.all());
      break;
    case ScriptEvent::Kind::kDown:
      press(event);
      break;
    case ScriptEvent::Kind::kUp: {
      const DevicePoint where = devicePlace(event.place);
      const auto released = static_cast<CButton>(held.buttons());
      const CButtonState heldKeys = held.modifiers() | keys.all();
      window.mouseMoved(where, held.buttons() | heldKeys.all());
      held = 0;
      window.mouseUp(where, released, heldKeys);
      break;
    }
    case ScriptEvent::Kind::kWheel:
      window.wheel(devicePlace(event.place), static_cast<float>(event.number), keys);
      break;
    case ScriptEvent::Kind::kKey: {
      KeyEvent key = event.key;
      key.modifiers = keys;
      window.keyDown(key);
      window.keyUp(key);
      break;
    }
    case ScriptEvent::Kind::kType: {
      KeyEvent typed;
      typed.text = event.text;
      window.keyDown(typed);
      break;
    }
    case ScriptEvent::Kind::kWait:
      wait(static_cast<std::int64_t>(event.number));
      break;
    case ScriptEvent::Kind::kShot:
      writeOutput(event.text, picture());
      break;
    case ScriptEvent::Kind::kViews:
      writeOutput(event.text, views());
      break;
    case ScriptEvent::Kind::kSet:
      runner.automate(event.parameter, static_cast<float>(event.number));
      wait(kIdleMs);
      break;
  }
}

std::string EditorSession::picture() {
  CGFrame* const frame = editor->shownFrame();
  if (frame == nullptr) throw Failure("the editor is closed");
  if (!isPlain) {
    const CRect size = frame->getSize();
    gl = GlPicture::make(devicePixels(size.width(), frame->getScale()),
                         devicePixels(size.height(), frame->getScale()));
    if (gl != nullptr) {
      if (const Held<CBitmap> drawn = gl->draw(*frame)) return pngBytes(*drawn);
    }
  }
  const CBitmap* const drawn = frame->picture();
  if (drawn == nullptr) throw Failure("the editor is closed");
  return pngBytes(*drawn);
}

std::string EditorSession::views() {
  CGFrame* const frame = editor->shownFrame();
  if (frame == nullptr) throw Failure("the editor is closed");
  const std::lock_guard guard(frame->treeLock());
  const JsonTree list = listViews(*frame);
  return jsonText(list.get());
}
