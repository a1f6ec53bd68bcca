#include "toolkit/frame_dialogs.h"

#include <mutex>
#include <utility>

#include "toolkit/file_selector.h"
#include "toolkit/frame.h"
#include "toolkit/message_box.h"

void FrameDialogs::showWarning(const std::string& caption, const std::string& message,
                               Closed closed) {
  const std::lock_guard guard(frame.treeLock());
  MessageBox::open(frame, {caption, message}, [closed = std::move(closed)](int button) {
    if (closed) closed(button != MessageBox::kNone);
  });
}

void FrameDialogs::confirm(const std::string& caption, const std::string& message,
                           Confirmed answer) {
  const std::lock_guard guard(frame.treeLock());
  MessageBox::open(frame, {caption, message, {"OK", "Cancel"}},
                   [answer = std::move(answer)](int button) {
                     if (answer) answer(button == 0);
                   });
}

void FrameDialogs::openFileDialog(const FileDialog& dialog, FileChosen answer) {
  const std::lock_guard guard(frame.treeLock());
  CFileSelector(frame, drawn).run(dialog, std::move(answer));
}
