#include "toolkit/file_browser.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "platform/paths.h"
#include "platform/user_folders.h"
#include "platform/whole_file.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"
#include "toolkit/message_box.h"

namespace {

constexpr float kBrowserWidth = 600.0F;
constexpr float kBrowserHeight = 400.0F;
constexpr float kBrowserGap = 8.0F;
constexpr float kTitleTop = 12.0F;
constexpr float kPathTop = 38.0F;
constexpr float kListTop = 70.0F;
constexpr float kUnderLists = 86.0F;  // name and buttons
constexpr float kPlacesWidth = 132.0F;
constexpr float kUpWidth = 48.0F;
constexpr float kNewFolderWidth = 104.0F;
constexpr float kNameLabelWidth = 52.0F;
constexpr float kNameHeight = 22.0F;
constexpr std::size_t kLongestName = 4096;

std::string nameOf(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  return name.empty() ? path : name;
}

std::string withoutLastSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

FileBrowser::FileBrowser(const CRect& window, FileDialog wanted, Answer taker)
    : ModalBox(window, kBrowserWidth, kBrowserHeight),
      dialog(std::move(wanted)),
      answer(std::move(taker)) {
  if (!dialog.extension.empty()) extensions.push_back(dialog.extension);
  extensions.insert(extensions.end(), dialog.otherExtensions.begin(), dialog.otherExtensions.end());
  addLists();
  addPlaces();
  addName();
  addButtons({dialog.isOpen ? "Open" : "Save", "Cancel"}, [this](int button) {
    if (button == 0) {
      accept();
    } else {
      finish({});
    }
  });
}

FileBrowser::~FileBrowser() = default;

void FileBrowser::open(CFrame& frame, FileDialog dialog, Answer answer) {
  if (!frame.isOpen()) {
    if (answer) answer({});
    return;
  }
  const auto browser = Held<FileBrowser>::adopt(
      new FileBrowser(frame.getSize(), std::move(dialog), std::move(answer)));
  frame.pushModalView(browser.get());
}

void FileBrowser::addLists() {
  const CRect inside = box().inset(kMargin, 0.0F);
  const float top = box().top + kListTop;
  const float bottom = std::max(top + look::kRowHeight, box().bottom - kUnderLists);
  const float middle = inside.left + kPlacesWidth;
  places = new RowList(
      {inside.left, top, middle, bottom},
      [this](int row) { goTo(placePaths[static_cast<std::size_t>(row)]); }, nullptr);
  files = new RowList(
      {middle + kBrowserGap, top, inside.right, bottom}, [this](int row) { fileSelected(row); },
      [this](int row) { openRow(row); });
  addView(places);
  addView(files);
  const float headTop = box().top + kPathTop;
  addView(
      new PushButton({inside.left, headTop, inside.left + kUpWidth, headTop + look::kButtonHeight},
                     "Up", [this] { goUp(); }));
  if (dialog.isOpen) return;
  addView(new PushButton(
      {inside.right - kNewFolderWidth, headTop, inside.right, headTop + look::kButtonHeight},
      "New Folder", [this] { beginNewFolder(); }));
}

void FileBrowser::addPlaces() {
  std::vector<RowList::Row> rows;
  const auto add = [&](const std::string& text, const std::string& path) {
    const std::string place = withoutLastSlash(path);
    if (place.empty() || !isFolder(place) ||
        std::ranges::find(placePaths, place) != placePaths.end()) {
      return;
    }
    rows.push_back({text, true});
    placePaths.push_back(place);
  };
  const std::string start = withHomeFolder(dialog.startFolder);
  add("Home", userHomeFolder());
  if (!start.empty()) add(nameOf(withoutLastSlash(start)), start);
  add("Desktop", withHomeFolder("~/Desktop"));
  add("Documents", withHomeFolder("~/Documents"));
  add("File System", "/");
  places->setRows(std::move(rows));
}

void FileBrowser::addName() {
  const CRect inside = box().inset(kMargin, 0.0F);
  const float bottom = box().bottom - kMargin - look::kButtonHeight - 12.0F;
  name = new TextField({inside.left + kNameLabelWidth, bottom - kNameHeight, inside.right, bottom},
                       look::regular(look::kTextSize, kWhiteCColor),
                       [this](TextField& /*field*/, TextField::End how) { nameEnded(how); });
  name->setMaxLength(kLongestName);
  addView(name);
}

void FileBrowser::attached(CViewContainer& holder) {
  ModalBox::attached(holder);
  const std::string proposed = withHomeFolder(dialog.proposedName);
  std::string start =
      proposed.empty() ? withHomeFolder(dialog.startFolder) : parentFolder(proposed);
  start = withoutLastSlash(std::move(start));
  // Up to the nearest folder that there is.
  while (!start.empty() && !isFolder(start)) start = parentFolder(start);
  const std::string home = userHomeFolder();
  if ((start.empty() || !goTo(start)) && (home.empty() || !goTo(home))) goTo("/");
  if (!proposed.empty()) name->setText(nameOf(proposed));
  focusName(!dialog.isOpen);
}

void FileBrowser::removed() {
  const Held<FileBrowser> stays(this);
  ModalBox::removed();
  if (const Answer told = std::exchange(answer, nullptr)) told({});
}

void FileBrowser::finish(const std::string& path) {
  const Held<FileBrowser> stays(this);
  const Answer told = std::exchange(answer, nullptr);
  close();
  if (told) told(path);
}

void FileBrowser::drawBackgroundRect(CDrawContext& context, const CRect& part) {
  ModalBox::drawBackgroundRect(context, part);
  const CRect inside = box().inset(kMargin, 0.0F);
  const auto write = [&](const std::string& text, const CRect& place, const TextStyle& style,
                         bool cutsStart = false) {
    const std::string cut = look::cutTo(place.width(), style, text, cutsStart);
    if (!cut.empty()) context.drawTextCached(cut, place, style);
  };
  write(dialog.title,
        {inside.left, box().top + kTitleTop, inside.right, box().top + kTitleTop + 20.0F},
        look::bold(look::kTextSize, look::kText));
  const float right = inside.right - (dialog.isOpen ? 0.0F : kNewFolderWidth + kBrowserGap);
  write(listed.path(),
        {inside.left + kUpWidth + kBrowserGap, box().top + kPathTop, right,
         box().top + kPathTop + look::kButtonHeight},
        look::regular(look::kTextSize, look::kQuietText), true);
  const CRect nameRow = name->getViewSize();
  write(isNamingFolder ? "Folder" : "Name",
        {inside.left, nameRow.top, nameRow.left - 4.0F, nameRow.bottom},
        look::bold(look::kSmallTextSize, look::kLabel));
  std::string note = trouble;
  if (note.empty() && listed.isCut()) note = "The folder holds more than is shown.";
  const CRect notePlace{inside.left, box().bottom - kMargin - look::kButtonHeight,
                        buttonsLeft() - kBrowserGap, box().bottom - kMargin};
  write(note, notePlace, look::regular(look::kSmallTextSize, look::kSand));
  if (!note.empty() || extensions.empty()) return;
  std::string shown;
  for (const std::string& extension : extensions) {
    shown += (shown.empty() ? "*." : "  *.") + extension;
  }
  write(shown, notePlace, look::regular(look::kSmallTextSize, look::kLabel));
}

void FileBrowser::showTrouble(std::string words) {
  trouble = std::move(words);
  invalidRect(box());
}

bool FileBrowser::goTo(const std::string& path) {
  if (std::string why = listed.read(path, extensions); !why.empty()) {
    showTrouble("“" + nameOf(path) + "” cannot be shown: " + why);
    return false;
  }
  std::vector<RowList::Row> rows;
  rows.reserve(listed.rows().size());
  for (const FolderList::Row& row : listed.rows()) rows.push_back({row.name, row.isFolder});
  files->setRows(std::move(rows));
  const auto place = std::ranges::find(placePaths, path);
  places->select(place != placePaths.end() ? static_cast<int>(place - placePaths.begin())
                                           : RowList::kNone);
  showTrouble({});
  return true;
}

void FileBrowser::goUp() {
  const std::string from = listed.path();
  const std::string above = parentFolder(from);
  if (!above.empty() && goTo(above)) files->select(listed.find(nameOf(from)));
}

void FileBrowser::focusName(bool on) {
  files->setFocused(!on);
  if (on) {
    name->takeFocus();
    name->selectAll();
  } else {
    name->looseFocus();
  }
}

void FileBrowser::fileSelected(int row) {
  const FolderList::Row& picked = listed.rows()[static_cast<std::size_t>(row)];
  if (!picked.isFolder && !isNamingFolder) name->setText(picked.name);
}

void FileBrowser::openRow(int row) {
  const FolderList::Row opened = listed.rows()[static_cast<std::size_t>(row)];
  const std::string path = joinedPath(listed.path(), opened.name);
  if (opened.isFolder) {
    goTo(path);
  } else {
    acceptFile(path);
  }
}

CMouseEventResult FileBrowser::onMouseDown(CPoint where, CButtonState state) {
  const Held<FileBrowser> stays(this);
  const bool isOnName = name->hitTest(where);
  if (isOnName != name->hasFocus() && (isOnName || files->hitTest(where))) focusName(isOnName);
  return ModalBox::onMouseDown(where, state);
}

bool FileBrowser::onKeyDown(const KeyEvent& key) {
  const Held<FileBrowser> stays(this);
  if (name->hasFocus()) {
    const bool isForList = key.key == Key::kUp || key.key == Key::kDown;
    if (!isForList || isNamingFolder) {
      name->onKeyDown(key);
      return true;
    }
    focusName(false);
  }
  const int row = files->selected();
  switch (key.key) {
    case Key::kEscape:
      finish({});
      break;
    case Key::kTab:
      focusName(true);
      break;
    case Key::kBack:
      goUp();
      break;
    case Key::kReturn:
    case Key::kEnter:
      if (row != RowList::kNone) {
        openRow(row);
      } else {
        accept();
      }
      break;
    default:
      files->onKeyDown(key);
      break;
  }
  return true;
}

void FileBrowser::nameEnded(TextField::End how) {
  switch (how) {
    case TextField::End::kEntered:
      accept();
      break;
    case TextField::End::kTabbed:
      focusName(false);
      break;
    case TextField::End::kLeft:
      if (isNamingFolder) {
        endNewFolder();
      } else {
        finish({});
      }
      break;
    case TextField::End::kFocusLost:
      break;
  }
}

void FileBrowser::accept() {
  if (isNamingFolder) {
    makeNewFolder();
    return;
  }
  const std::string written = withHomeFolder(name->text());
  const int row = files->selected();
  if (written.empty()) {
    if (row != RowList::kNone) openRow(row);
    return;
  }
  const std::string path = written.starts_with('/') ? written : joinedPath(listed.path(), written);
  if (isFolder(path)) {
    if (goTo(realPath(path).value_or(path))) name->setText({});
    return;
  }
  acceptFile(path);
}

void FileBrowser::acceptFile(const std::string& path) {
  const std::string named = withExtension(path, dialog.extension);
  if (dialog.isOpen) {
    const bool isThereAsItIs = isFile(path);
    if (isThereAsItIs || isFile(named)) {
      finish(isThereAsItIs ? path : named);
    } else {
      showTrouble("There is no file “" + nameOf(path) + "”.");
    }
    return;
  }
  if (!isFolder(parentFolder(named))) {
    showTrouble("There is no folder “" + parentFolder(named) + "”.");
  } else if (isFolder(named)) {
    showTrouble("“" + nameOf(named) + "” is a folder.");
  } else if (isNameTaken(named)) {
    askToReplace(named);
  } else {
    finish(named);
  }
}

void FileBrowser::askToReplace(const std::string& path) {
  const Held<FileBrowser> stays(this);
  MessageBox::open(*getFrame(), replaceQuestion(path), [stays, path](int button) {
    if (button == 0 && stays->getFrame() != nullptr) stays->finish(path);
  });
}

void FileBrowser::beginNewFolder() {
  if (!isNamingFolder) nameBefore = name->text();
  isNamingFolder = true;
  name->setText("New Folder");
  focusName(true);
  showTrouble({});
}

void FileBrowser::endNewFolder() {
  isNamingFolder = false;
  name->setText(nameBefore);
  showTrouble({});
}

void FileBrowser::makeNewFolder() {
  const std::string& written = name->text();
  const std::string path = joinedPath(listed.path(), written);
  if (written.empty() || written == "." || written == ".." ||
      written.find('/') != std::string::npos) {
    showTrouble("A folder cannot have this name.");
  } else if (isNameTaken(path)) {
    showTrouble("“" + written + "” is there already.");
  } else if (const std::error_code error = makeFolders(path)) {
    showTrouble("The folder cannot be made: " + error.message());
  } else {
    endNewFolder();
    goTo(path);
  }
}
