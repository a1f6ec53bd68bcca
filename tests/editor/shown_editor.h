#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "core/plug.h"
#include "editor/plug_ed.h"

/// An effect with its editor, off the screen.
struct Shown {
  explicit Shown(int mode, double zoom = 1.0)
      : plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached(),
             [this](Plug& effect) {
               auto made = std::make_unique<PlugEd>(effect);
               editor = made.get();
               return made;
             }) {
    plug.editorState().wantedUimode = mode;
    plug.editorState().zoom = zoom;
    plug.editorState().freeWidth = static_cast<int>(zoom * EditorState::widthOf(mode));
    editor->showBy({false, [] { return std::uint64_t{0}; }});
    EXPECT_TRUE(editor->openOffScreen(1.0F));
  }

  [[nodiscard]] CRect place(std::int32_t tag, int which) const {
    const CControl* const control = editor->index().find(tag, which);
    return control != nullptr ? control->getViewSize() : CRect{-1, -1, -1, -1};
  }

  PlugEd* editor = nullptr;
  Plug plug;
};
