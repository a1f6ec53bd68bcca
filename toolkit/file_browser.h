#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dialogs.h"
#include "toolkit/folder_list.h"
#include "toolkit/modal_box.h"
#include "toolkit/row_list.h"
#include "toolkit/text_field.h"

/// A dialog for files that is drawn in the frame, for desktops that have none of their own: folders
/// and files with one of the extensions, places to begin at, a name, new folders. It asks before a
/// file is replaced. Threads: as `ModalBox`; it reads one folder at a time.
class FileBrowser : public ModalBox {
 public:
  /// An empty path where none was chosen.
  using Answer = std::function<void(const std::string& path)>;

  /// `answer` comes once, after the browser has gone; it may close the frame. At once, and empty,
  /// where the frame is not open.
  static void open(CFrame& frame, FileDialog dialog, Answer answer);

  /// The folder that is shown, and what has gone wrong, in words.
  [[nodiscard]] const std::string& folder() const noexcept { return listed.path(); }
  [[nodiscard]] const std::string& message() const noexcept { return trouble; }
  [[nodiscard]] const FolderList& entries() const noexcept { return listed; }
  [[nodiscard]] const TextField& nameField() const noexcept { return *name; }

  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;
  void attached(CViewContainer& holder) override;
  void removed() override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;

 protected:
  ~FileBrowser() override;

 private:
  FileBrowser(const CRect& window, FileDialog dialog, Answer answer);

  void addLists();
  void addPlaces();
  void addName();
  bool goTo(const std::string& path);
  void goUp();
  void showTrouble(std::string words);
  void focusName(bool on);
  void fileSelected(int row);
  void openRow(int row);
  void nameEnded(TextField::End how);
  void accept();
  void acceptFile(const std::string& path);
  void askToReplace(const std::string& path);
  void beginNewFolder();
  void endNewFolder();
  void makeNewFolder();
  void finish(const std::string& path);

  FileDialog dialog;
  Answer answer;
  FolderList listed;
  std::vector<std::string> extensions;
  std::vector<std::string> placePaths;
  // Children.
  RowList* places = nullptr;
  RowList* files = nullptr;
  TextField* name = nullptr;
  std::string nameBefore;  // while a new folder is named
  std::string trouble;
  bool isNamingFolder = false;
};
