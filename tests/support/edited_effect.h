#pragma once

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <utility>

#include "core/plug.h"
#include "editor/plug_ed.h"

/// An effect with its editor, which its owner opens and idles.
struct EditedEffect {
  EditedEffect(ShownHow how, double zoom)
      : plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached(),
             [this](Plug& shown) {
               auto made = std::make_unique<PlugEd>(shown);
               editor = made.get();
               return made;
             }) {
    editor->showBy(std::move(how));
    plug.editorState().zoom = zoom;
    plug.editorState().freeWidth = static_cast<int>(zoom * EditorState::widthOf(0));
    plug.resume();
  }

  void idle() {
    plug.onIdle();
    editor->idle();
  }
  /// Whether audio comes out of it.
  [[nodiscard]] bool plays() {
    std::array<float, 2048> sound{};
    std::array<float*, 4> pins = {sound.data(), sound.data(), nullptr, nullptr};
    sound[0] = 1.0F;
    plug.processReplacing(pins.data(), pins.data(), static_cast<std::int32_t>(sound.size()));
    return std::ranges::any_of(sound, [](float sample) { return sample != 0.0F; });
  }
  /// All of it is to be drawn again.
  void change() {
    const std::lock_guard guard(editor->shownFrame()->treeLock());
    editor->shownFrame()->setDirty();
  }

  PlugEd* editor = nullptr;
  Plug plug;
};
