#pragma once

#include <functional>
#include <string>
#include <vector>

#include "toolkit/draw_context.h"
#include "toolkit/modal_box.h"

/// A message with buttons. Threads: as `ModalBox`.
class MessageBox : public ModalBox {
 public:
  static constexpr int kNone = -1;  ///< it was closed by none of the buttons

  /// UTF-8. Lines are broken where they have to be. Return presses the chosen button, at first the
  /// one told here, and Escape the last one.
  struct Contents {
    std::string caption;
    std::string message;
    std::vector<std::string> buttons = {"OK"};
    int chosen = 0;
  };
  using Answer = std::function<void(int button)>;

  /// `answer` comes once, after the box has gone; it may close the frame. `kNone` where the frame
  /// closes first, and at once where it is not open.
  static void open(CFrame& frame, Contents contents, Answer answer);

  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;
  void removed() override;
  bool onKeyDown(const KeyEvent& key) override;

 protected:
  ~MessageBox() override;

 private:
  MessageBox(const CRect& window, Contents contents, std::vector<std::string> lines, Answer answer);
  void finish(int button);

  Contents contents;
  std::vector<std::string> lines;
  Answer answer;
};

/// Breaks a text into lines of at most this width: at blanks, inside of a word that is wider, and
/// at its own line ends.
[[nodiscard]] std::vector<std::string> wrapped(const std::string& text, float width,
                                               const TextStyle& style);

/// What is asked before a file is replaced; the first button does it.
[[nodiscard]] MessageBox::Contents replaceQuestion(const std::string& path);
