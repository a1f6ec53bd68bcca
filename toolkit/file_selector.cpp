#include "toolkit/file_selector.h"

#include <utility>

#include "platform/paths.h"
#include "toolkit/file_browser.h"
#include "toolkit/folder_list.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"
#include "toolkit/message_box.h"

namespace {

constexpr const char* kWaits = "Choose a file in the other window, or press Escape.";

/// Lies over the frame while another program's dialog is open: the frame must not be changed
/// meanwhile. Escape ends the dialog.
class ChooserVeil : public CView {
 public:
  ChooserVeil(const CRect& rect, std::unique_ptr<FileChooser> opened, FileDialog shown,
              CFileSelector::Answer taker)
      : CView(rect),
        chooser(std::move(opened)),
        dialog(std::move(shown)),
        answer(std::move(taker)) {}

  void draw(CDrawContext& context) override {
    context.fillRect(size, look::kDarkened);
    context.drawTextCached(kWaits, size, look::regular(look::kTextSize, look::kText, kCenterText));
    setDirty(false);
  }
  void attached(CViewContainer& holder) override {
    CView::attached(holder);
    getFrame()->wantIdle(*this, true);
  }
  void removed() override {
    const Held<ChooserVeil> stays(this);
    chooser.reset();
    CView::removed();
    if (const CFileSelector::Answer told = std::exchange(answer, nullptr)) told({});
  }
  bool onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) override {
    return true;
  }
  bool onKeyDown(const KeyEvent& key) override {
    if (key.key == Key::kEscape) finish({});
    return true;
  }
  bool onKeyUp(const KeyEvent& /*key*/) override { return true; }
  void frameResized() override {
    setViewSize({0.0F, 0.0F, getFrame()->getSize().width(), getFrame()->getSize().height()});
  }
  void onIdle() override {
    if (chooser == nullptr) return;
    std::string path;
    const FileChooser::State state = chooser->poll(path);
    if (state == FileChooser::State::kOpen) return;
    chooser.reset();
    if (state == FileChooser::State::kFailed) {
      browse();
    } else {
      take(path);
    }
  }

 private:
  ~ChooserVeil() override = default;

  void finish(const std::string& path) {
    const Held<ChooserVeil> stays(this);
    const CFileSelector::Answer told = std::exchange(answer, nullptr);
    chooser.reset();
    if (getFrame() != nullptr) getFrame()->popModalView(this);
    if (told) told(path);
  }
  /// The dialog could not be shown after all.
  void browse() {
    const Held<ChooserVeil> stays(this);
    CFrame& shownIn = *getFrame();
    CFileSelector::Answer told = std::exchange(answer, nullptr);
    shownIn.popModalView(this);
    FileBrowser::open(shownIn, std::move(dialog), std::move(told));
  }
  void take(const std::string& path) {
    const std::string named =
        dialog.isOpen || path.empty() ? path : withExtension(path, dialog.extension);
    // The dialog has asked about the name as it was written, not with its extension.
    if (named == path || !isNameTaken(named)) {
      finish(named);
      return;
    }
    const Held<ChooserVeil> stays(this);
    MessageBox::open(*getFrame(), replaceQuestion(named), [stays, named](int button) {
      if (stays->getFrame() != nullptr) stays->finish(button == 0 ? named : std::string());
    });
  }

  std::unique_ptr<FileChooser> chooser;
  FileDialog dialog;
  CFileSelector::Answer answer;
};

}  // namespace

void CFileSelector::run(const VstFileSelect& select, Answer answer) {
  FileDialog dialog;
  dialog.isOpen = select.command == kVstFileLoad;
  dialog.title = select.title;
  const bool proposes = !dialog.isOpen && !select.initialPath.empty() &&
                        !select.initialPath.ends_with('/') && !isFolder(select.initialPath);
  (proposes ? dialog.proposedName : dialog.startFolder) = select.initialPath;
  for (const VstFileType& type : select.fileTypes) {
    if (dialog.extension.empty()) {
      dialog.extension = type.unixType;
    } else {
      dialog.otherExtensions.push_back(type.unixType);
    }
  }
  run(dialog, std::move(answer));
}

void CFileSelector::run(const FileDialog& dialog, Answer answer) {
  if (!frame.isOpen()) {
    if (answer) answer({});
    return;
  }
  std::unique_ptr<FileChooser> chooser =
      drawn || frame.window() == nullptr ? nullptr : FileChooser::open(dialog);
  if (chooser == nullptr) {
    FileBrowser::open(frame, dialog, std::move(answer));
    return;
  }
  const auto veil = Held<ChooserVeil>::adopt(
      new ChooserVeil(frame.getSize(), std::move(chooser), dialog, std::move(answer)));
  frame.pushModalView(veil.get());
}
