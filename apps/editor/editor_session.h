#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/editor/event_script.h"
#include "apps/effect/effect_runner.h"
#include "editor/plug_ed.h"

class GlPicture;

/// How an editor without a window is shown.
struct EditorView {
  double zoom = 1.0;
  double deviceScale = 1.0;
  int mode = 0;          ///< 0 plain, 1 sidechain panel, 2 advanced panel
  int band = 0;          ///< 0..7
  int setupPage = -1;    ///< of the setup window; -1 keeps it closed
  bool isPlain = false;  ///< drawn without OpenGL, where that could be had
};

/// Audio that goes through an effect before its editor is looked at.
struct AudioExcerpt {
  int rate = 48000;  ///< Hz
  int channels = 2;
  std::vector<double> samples;  ///< interleaved

  /// The first `seconds` of a file, ten minutes at most. Throws `Failure`.
  [[nodiscard]] static AudioExcerpt read(const std::string& path, double seconds);
};

/// An effect and its editor, off the screen, in a time that passes only when it is told to: what is
/// shown depends on nothing but what it is given.
class EditorSession {
 public:
  /// The audio goes through the effect while the editor is open. Throws `Failure`.
  EditorSession(const EffectSetup& setup, const EditorView& view, const AudioExcerpt& audio);
  ~EditorSession();

  /// Plays what the user does. Throws `Failure` for an event that cannot be played.
  void play(const ScriptEvent& event);
  /// The picture as PNG, and the views as JSON text with a line end, of this moment.
  [[nodiscard]] std::string picture();
  [[nodiscard]] std::string views();

 private:
  void showAs(const EditorView& view);
  void hear(const AudioExcerpt& audio, int blockFrames);
  void wait(std::int64_t milliseconds);
  [[nodiscard]] DevicePoint devicePlace(const EventPlace& place) const;
  void press(const ScriptEvent& event);

  std::uint64_t now = 0;  // ms
  PlugEd* editor = nullptr;
  EffectRunner runner;
  std::unique_ptr<GlPicture> gl;
  bool isPlain;
  CButtonState held;  // buttons and keys
};
