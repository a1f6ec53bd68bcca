#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/edited_effect.h"

/// An editor off the screen, at a time that stands still.
struct Shown : EditedEffect {
  explicit Shown(int mode, double zoom = 1.0)
      : EditedEffect({false, [] { return std::uint64_t{0}; }}, zoom) {
    plug.editorState().wantedUimode = mode;
    plug.editorState().freeWidth = static_cast<int>(zoom * EditorState::widthOf(mode));
    EXPECT_TRUE(editor->openOffScreen(1.0F));
  }

  [[nodiscard]] CRect place(std::int32_t tag, int which) const {
    const CControl* const control = editor->index().find(tag, which);
    return control != nullptr ? control->getViewSize() : CRect{-1, -1, -1, -1};
  }
  /// As the user does it by a control of this tag.
  void change(std::int32_t tag, float value) const {
    CControl control({{300, 100, 300, 100}, nullptr, tag});
    control.setValue(value);
    editor->valueChanged(control);
  }
  /// Keys of the host; whether the last one was of use.
  bool press(std::initializer_list<Key> keys) const {
    bool isUsed = false;
    for (const Key key : keys) isUsed = editor->onKeyDown({0, static_cast<std::uint8_t>(key), 0});
    return isUsed;
  }
  [[nodiscard]] CView* box() const { return editor->shownFrame()->getModalView(); }
};
