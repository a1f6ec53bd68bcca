// What the user does to menus, texts and boxes, told in tables, and what comes of it.

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/test_directory.h"
#include "tests/support/user_script.h"
#include "tests/support/x_server.h"
#include "toolkit/buttons.h"
#include "toolkit/file_browser.h"
#include "toolkit/file_selector.h"
#include "toolkit/frame.h"
#include "toolkit/frame_dialogs.h"
#include "toolkit/knob.h"
#include "toolkit/message_box.h"
#include "toolkit/option_menu.h"
#include "toolkit/plain_context.h"
#include "toolkit/popup_menu.h"
#include "toolkit/slider.h"
#include "toolkit/switches.h"
#include "toolkit/text_edit.h"
#include "toolkit/utf8.h"
#include "toolkit/vu_meter.h"

namespace {

constexpr CRect kPlace{20, 20, 140, 40};  // of the control that is tried

/// Notes what an editor hears; of the news to come the one that `closes` counts closes its frame,
/// or `asks` the user something.
class NotedEditor : public NotedActs {
 public:
  NotedEditor() { open(600, 420); }
  ~NotedEditor() override { frame->close(); }
  NotedEditor(const NotedEditor&) = delete;
  NotedEditor& operator=(const NotedEditor&) = delete;

  void open(float width, float height) {
    if (frame) frame->close();
    closes = 0;
    const CFrame::Clock clock = [this] { return now; };
    frame = Held<CFrame>::adopt(new OpenFrame({0, 0, width, height}, this, clock));
    frame->openOffScreen(1.0F);
    log.clear();
  }
  void hear(const std::string& news) override {
    NotedActs::hear(news);
    if (closes > 0 && --closes == 0) frame->close();
    if (std::exchange(asks, false)) FrameDialogs(*frame, true).showWarning({}, news, {});
  }
  bool controlModifierClicked(CControl& /*control*/, CButtonState buttons) override {
    if (buttons.has(kAlt)) hear("alt");
    return buttons.has(kAlt);
  }
  [[nodiscard]] std::int32_t getKnobMode() const override { return kRelativCircularMode; }
  [[nodiscard]] CFrame* getFrame() const override { return frame.get(); }
  void frameCallback(std::int32_t code, void* /*data*/) override {
    hear("frame" + std::to_string(code));
  }
  void valueChanged(CControl& control) override {
    auto* const text = dynamic_cast<CTextEdit*>(&control);
    auto* const menu = dynamic_cast<COptionMenu*>(&control);
    if (menu != nullptr && menu->getLastItemMenu() != menu) hear("sub");
    std::ostringstream value;
    value << "="
          << (menu != nullptr ? static_cast<float>(menu->getLastResult()) : control.getValue());
    hear(text != nullptr ? "'" + text->getText() + "'" : value.str());
  }

  Held<CFrame> frame;
  int closes = 0;
  bool asks = false;

 private:
  class OpenFrame : public CFrame {
   public:
    using CFrame::CFrame;
  };
};

/// The frame as it looks now.
Held<CBitmap> draw(const NotedEditor& editor, float scale = 1.25F) {
  const CRect window = editor.frame->getSize();
  const auto picture = Held<CBitmap>::adopt(new CBitmap(static_cast<int>(window.width() * scale),
                                                        static_cast<int>(window.height() * scale)));
  PlainContext context(*picture);
  context.setScale(scale);
  context.beginFrame();
  editor.frame->drawFrame(context, window);
  return picture;
}

class BoxScript : public UserScript {
 protected:
  BoxScript() : UserScript(editor) {
    addControls();
    addStock();
    addEvents();
    addBoxes();
  }

  void afterRow() override {
    draw(editor);
    if (!editor.log.empty()) say(std::exchange(editor.log, {}));
    if (const std::string state = stateText(); !state.empty()) say(state);
  }

  void addControls() {
    commands["new"] = [this] {
      editor.open(row[1].empty() ? 600 : std::stof(row[1]),
                  row[2].empty() ? 420 : std::stof(row[2]));
      menu = nullptr;
    };
    commands["menu"] = [this] {
      const std::int32_t style = row[2].empty() ? 0 : number(2) << 16;
      menu = new COptionMenu({kPlace, &editor, 7}, style);
      fill(*menu, row[1]);
      editor.frame->addView(menu);
      if (!row[3].empty()) menu->setValue(std::stof(row[3]));
    };
    commands["popup"] = [this] { menu->popup(); };
    commands["fill"] = [this] { menu->addEntries(row[1]); };
    commands["value"] = [this] { say(menu->getValue()); };
    commands["entries"] = [this] {
      for (int i = 0; i < menu->getNbEntries(); ++i) {
        say(menu->getEntry(i)->isSeparator ? "-" : "(" + menu->getEntry(i)->title + ")");
      }
    };
    commands["edit"] = [this] {
      const std::int32_t style = row[2].empty() ? 0 : kDoubleClickStyle;
      auto* const edit = new CTextEdit({kPlace, &editor, 9}, row[1], style);
      edit->setHoriAlign(kLeftText);
      if (!row[3].empty()) edit->setMaxLength(static_cast<std::size_t>(number(3)));
      editor.frame->addView(control = edit);
    };
    commands["resize"] = [this] { editor.frame->setSize(std::stof(row[1]), std::stof(row[2])); };
    commands["closing"] = [this] { editor.closes = row[1].empty() ? 1 : number(1); };
    commands["close"] = [this] { editor.frame->close(); };
  }

  void addStock() {
    commands["control"] = [this] {
      const std::map<std::string, std::function<CControl*(const ControlSetup&)>> kinds = {
          {"display", [](const auto& setup) { return new CParamDisplay(setup); }},
          {"kick", [](const auto& setup) { return new CKickButton(setup, {}); }},
          {"knob", [](const auto& setup) { return new CKnob(setup, {}, {}); }},
          {"slider",
           [](const auto& setup) {
             return new CSlider(setup, CSlider::Style::kHorizontal, 20, 120, {}, {});
           }},
          {"switch", [](const auto& setup) { return new CHorizontalSwitch(setup, {}, {}, 3); }},
          {"meter",
           [](const auto& setup) {
             return new CVuMeter(setup, CVuMeter::Style::kVertical, 10, {}, {});
           }},
      };
      control = kinds.at(row[1])({kPlace, &editor, 8});
      editor.frame->addView(control);
    };
    commands["set"] = [this] {
      (void)editor.frame->takeDamage();
      control->setValue(std::stof(row[1]));
      say(editor.frame->takeDamage().isEmpty() ? "unseen" : "drawn");
    };
    commands["hide"] = [this] { control->setVisible(false); };
    commands["asking"] = [this] { editor.asks = true; };
    commands["other"] = [this] {
      events().mouseDown(at(), kRButton, kLButton | kRButton);
      events().mouseUp(at(), kRButton, kLButton);
    };
  }

  /// "a, -, !off, *checked, sub>b/c"
  static void fill(COptionMenu& filled, const std::string& entries) {
    std::istringstream parts(entries);
    for (std::string part; std::getline(parts, part, ',');) {
      part.erase(0, part.find_first_not_of(' '));
      const std::size_t sub = part.find('>');
      if (sub == std::string::npos) {
        const bool isMarked = part[0] == '!' || part[0] == '*';
        CMenuItem* const item = filled.addEntry(part.substr(isMarked ? 1 : 0));
        item->isEnabled = part[0] != '!';
        item->isChecked = part[0] == '*';
        continue;
      }
      auto* const submenu = new COptionMenu(ControlSetup{});
      std::string inner = part.substr(sub + 1);
      std::ranges::replace(inner, '/', ',');
      fill(*submenu, inner);
      filled.addEntry(submenu, part.substr(0, sub));
    }
  }

  void addEvents() {
    commands["type"] = [this] {
      for (std::size_t i = 0; i < row[1].size();) {
        std::size_t end = i + 1;  // characters come one by one
        while (end < row[1].size() && (static_cast<unsigned char>(row[1][end]) & 0xC0U) == 0x80)
          ++end;
        press({Key::kNone, static_cast<unsigned char>(row[1][i]), row[1].substr(i, end - i), {}});
        i = end;
      }
    };
    commands["text"] = [this] { press({Key::kNone, 0, row[1], {}}); };
    commands["clipboard"] = [this] { editor.frame->putClipboard(Clipboard::kClipboard, row[1]); };
  }

  void addBoxes() {
    commands["ask"] = [this] {
      dialogs().confirm("Caption", row[1], [this](bool ok) { editor.hear(ok ? "yes" : "no"); });
    };
    commands["warn"] = [this] {
      dialogs().showWarning("Caption", row[1],
                            [this](bool byUser) { editor.hear(byUser ? "read" : "gone"); });
    };
    commands["open"] = [this] { browse(true); };
    commands["save"] = [this] { browse(false); };
    commands["file"] = [this] { writeBytes(folder.path(row[1]), row[2]); };
    commands["folder"] = [this] { std::filesystem::create_directories(folder.path(row[1])); };
    commands["remove"] = [this] { std::filesystem::remove_all(folder.path(row[1])); };
    commands["names"] = [this] {
      for (const FolderList::Row& entry : browser()->entries().rows()) {
        say(entry.name + (entry.isFolder ? "/" : ""));
      }
    };
  }

  [[nodiscard]] FrameDialogs dialogs() { return FrameDialogs(*editor.frame, true); }
  void browse(bool isOpen) {
    FileDialog dialog{isOpen, "Title", folder.path(""), {}, "cvb"};
    if (!row[1].empty()) dialog.proposedName = folder.path(row[1]);
    dialogs().openFileDialog(dialog, [this](const std::string& path) {
      editor.hear("chose " + (path.empty() ? "nothing" : shortened(path)));
    });
  }
  [[nodiscard]] FileBrowser* browser() {
    return dynamic_cast<FileBrowser*>(editor.frame->getModalView());
  }
  /// Without the folder of the test.
  [[nodiscard]] std::string shortened(std::string text) const {
    std::string own = folder.path("");
    while (own.size() > 1 && own.back() == '/') own.pop_back();
    for (std::size_t found = 0; (found = text.find(own)) != std::string::npos;) {
      text.replace(found, own.size(), "@");
    }
    return text;
  }

  [[nodiscard]] static std::string fieldText(const TextField& field) {
    std::string text = field.text();
    text.insert(field.caret(), "^");
    return field.selectedText().empty() ? text : text + "[" + field.selectedText() + "]";
  }
  [[nodiscard]] std::string stateText() {
    CFrame& frame = *editor.frame;
    if (!frame.isOpen()) return "closed";
    if (const auto* const open = dynamic_cast<PopupMenu*>(frame.getModalView())) {
      std::string hot;
      for (std::size_t i = 0; i < open->panelCount(); ++i) {
        const MenuEntry* const entry = open->panel(i).entry(open->panel(i).hot());
        hot += (i > 0 ? ">" : "") + (entry != nullptr ? entry->text : "");
      }
      return "{" + hot + "}";
    }
    if (const FileBrowser* const files = browser()) {
      return shortened(files->folder() + " " + fieldText(files->nameField()) + " " +
                       files->message());
    }
    if (dynamic_cast<MessageBox*>(frame.getModalView()) != nullptr) return "box";
    const auto* const field = dynamic_cast<TextField*>(frame.getFocusView());
    return field != nullptr ? fieldText(*field) : "";
  }

  const TestDirectory folder;
  NotedEditor editor;
  COptionMenu* menu = nullptr;
  CControl* control = nullptr;
};

TEST_F(BoxScript, MenusAnswerMouseAndKeys) { run(TEST_DATA "/menus.txt"); }
TEST_F(BoxScript, ControlsTellOneActAtATime) { run(TEST_DATA "/controls.txt"); }
TEST_F(BoxScript, TextsAreWrittenWhereTheyStand) { run(TEST_DATA "/texts.txt"); }
TEST_F(BoxScript, BoxesAskAndFilesAreChosen) { run(TEST_DATA "/boxes.txt"); }

/// All boxes of the open menu.
std::vector<const MenuPanel*> panelsOf(CFrame& frame) {
  std::vector<const MenuPanel*> panels;
  const auto* const open = dynamic_cast<PopupMenu*>(frame.getModalView());
  for (std::size_t i = 0; open != nullptr && i < open->panelCount(); ++i) {
    panels.push_back(&open->panel(i));
  }
  return panels;
}

std::vector<MenuEntry> nested(std::mt19937& random, int depth, unsigned most) {
  std::vector<MenuEntry> entries(1 + random() % most);
  for (MenuEntry& entry : entries) {
    entry.text = std::string(random() % 60, 'n');
    entry.isSeparator = random() % 8 == 0;
    entry.isSubmenu = depth < 4 && !entry.isSeparator && random() % 3 == 0;
    if (entry.isSubmenu) entry.entries = nested(random, depth + 1, 40);
  }
  return entries;
}

/// A user of an open menu who does anything at all.
class AnyUser {
 public:
  AnyUser(NotedEditor& used, unsigned seed) : random(seed), editor(used) {}

  float within(float most) { return static_cast<float>(random() % 10'000) / 1e4F * most; }
  /// `ends`: also what closes a menu.
  void act(bool ends) {
    constexpr Key kKeys[] = {Key::kUp,       Key::kDown, Key::kLeft, Key::kRight,  Key::kPageUp,
                             Key::kPageDown, Key::kEnd,  Key::kHome, Key::kReturn, Key::kEscape};
    const CRect window = editor.frame->getSize();
    const DevicePoint at{static_cast<double>(within(window.width())),
                         static_cast<double>(within(window.height()))};
    WindowListener& events = editor.frame->events();
    const unsigned kind = random() % 8;
    if (kind < 3)
      events.keyDown({kKeys[random() % (std::size(kKeys) - (ends ? 0 : 2))], 0, {}, {}});
    if (kind == 3) events.wheel(at, within(4) - 2, {});
    if (kind == 4) events.mouseUp(at, kLButton, {});
    if (kind == 5 && ends) events.mouseDown(at, kLButton, kLButton);
    if (kind > 5) events.mouseMoved(at, {});
    editor.now += 50;
    editor.frame->idle();
  }
  std::mt19937 random;

 private:
  NotedEditor& editor;
};

void expectInWindow(const NotedEditor& editor) {
  for (const MenuPanel* const panel : panelsOf(*editor.frame)) {
    const CRect seen = panel->place().cutTo(editor.frame->getSize());
    EXPECT_TRUE(seen == panel->place()) << "beyond the window's edge";
    const CRect hot = panel->rowPlace(panel->hot());
    EXPECT_TRUE(hot.isEmpty() || (hot.top >= seen.top && hot.bottom <= seen.bottom));
  }
}

/// Nothing of a box is left out at the window's edges.
void expectDrawn(const NotedEditor& editor) {
  const CRect top = panelsOf(*editor.frame).back()->place();
  const Held<CBitmap> picture = draw(editor, 1.0F);
  const int column = static_cast<int>(top.left) + 3;
  const int row = static_cast<int>(top.bottom) - 3;
  EXPECT_EQ(picture->pixels()[row * picture->getWidth() + column], 0xFF151A1EU);
}

void expectOfUse(const std::vector<MenuEntry>& entries, const PopupMenu::Path& path) {
  const std::vector<MenuEntry>* rows = &entries;
  const MenuEntry* chosen = nullptr;
  for (const std::size_t index : path) {
    chosen = &rows->at(index);
    EXPECT_TRUE(chosen->isOfUse());
    rows = &chosen->entries;
  }
  EXPECT_TRUE(chosen == nullptr || !chosen->isSubmenu);
}

TEST(PopupMenus, StandInTheWindowAndAnswerOnceWhateverIsDone) {
  NotedEditor editor;
  for (unsigned seed = 0; seed < 60 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    AnyUser user(editor, seed);
    editor.open(std::floor(60 + user.within(700)), std::floor(60 + user.within(500)));
    const std::vector<MenuEntry> entries =
        seed % 4 == 0 ? nested(user.random, 4, 9000) : nested(user.random, 2, 40);
    const float x = user.within(editor.frame->getSize().width());
    const float y = user.within(editor.frame->getSize().height());
    int answers = 0;
    PopupMenu::open(*editor.frame, entries, {{x, y, x + 20, y + 20}},
                    [&](const PopupMenu::Path& path) {
                      ++answers;
                      expectOfUse(entries, path);
                    });
    for (int step = 0; step < 200 && answers == 0; ++step) {
      user.act(seed % 2 == 0 && step > 20);
      expectInWindow(editor);
    }
    if (answers == 0) expectDrawn(editor);
    editor.frame->close();
    EXPECT_EQ(answers, 1);
  }
}

TEST(TextFields, TakeWhatIsLongInNoTimeAtAll) {
  NotedEditor editor;
  auto* const edit = new CTextEdit({kPlace, &editor, 1});
  edit->setMaxLength(1U << 20U);
  editor.frame->addView(edit);
  edit->openField();
  auto* const field = dynamic_cast<TextField*>(editor.frame->getFocusView());
  ASSERT_NE(field, nullptr);
  std::string text;
  while (text.size() < 1U << 20U) text += "words and w\xC3\xB6rds ";
  const auto press = [&](Key key, char32_t character, std::uint32_t modifiers) {
    editor.frame->events().keyDown({key, character, {}, modifiers});
  };
  const auto start = std::chrono::steady_clock::now();
  editor.frame->putClipboard(Clipboard::kClipboard, text);
  press(Key::kNone, 'v', kControl);
  EXPECT_EQ(field->text(), text);
  for (int i = 0; i < 100; ++i) {
    press(i % 2 == 0 ? Key::kHome : Key::kEnd, 0, kShift);
    press(i % 3 == 0 ? Key::kLeft : Key::kRight, 0, kControl);
    press(i % 2 == 0 ? Key::kDelete : Key::kBack, 0, 0);
  }
  while (field->text() != text) press(Key::kNone, 'z', kControl);
  press(Key::kReturn, 0, 0);
  EXPECT_EQ(edit->getText(), text);
  // What grows with the square of the length would take minutes.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(Characters, HaveTheSameEdgesBothWaysAndWhateverTheBytes) {
  constexpr std::string_view kPieces[] = {
      "a",    "\xC3\xA9",         "\xCC\x81",         "\xE2\x80\x8D", " ",
      "\xFF", "\xF0\x9F\x91\x8D", "\xF0\x9F\x8F\xBD", "\xE2\x82",     "\n"};
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes;
    while (random() % 12 != 0) bytes += kPieces[random() % std::size(kPieces)];
    const std::string text = asOneLine(bytes, 100);
    SCOPED_TRACE(data_rows::cellOf(text));
    EXPECT_EQ(asOneLine(text, 100), text);
    std::vector<std::size_t> forwards{0};
    while (forwards.back() < text.size()) forwards.push_back(nextEdge(text, forwards.back()));
    std::vector<std::size_t> backwards{text.size()};
    while (backwards.back() > 0) backwards.push_back(previousEdge(text, backwards.back()));
    std::ranges::reverse(backwards);
    ASSERT_EQ(forwards, backwards);
  }
}

TEST(FileSelectors, WaitForTheDesktopsDialogAndOutliveIt) {
  const TestDirectory folder;
  const XServer display;
  const std::string path = std::getenv("PATH");
  ::setenv("PATH", (folder.path("") + ":" + path).c_str(), 1);
  writeBytes(folder.path("there.cvb"), "x");
  const struct {
    const char* script;
    const char* then;  // keys of the user in the frame, "c" to close it
    const char* told;
  } rows[] = {{"echo @/new", "", "@/new.cvb"},
              {"echo @/there.cvb", "", "@/there.cvb"},
              {"echo @/there", "r", "none"},  // with its extension it is a file that is there
              {"echo @/there", "lr", "@/there.cvb"},
              {"echo @/there", "c", "none"},
              {"exit 1", "", "none"},
              {"exit 200", "fr", "@/f.cvb"},  // the browser
              {"sleep 1000", "e", "none"},
              {"sleep 1000", "c", "none"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.script + std::string(" ") + row.then);
    std::string script = "#!/bin/sh\n" + std::string(row.script) + "\n";
    const std::size_t place = script.find('@');
    if (place != std::string::npos) script.replace(place, 2, folder.path(""));
    writeBytes(folder.path("zenity"), script);
    std::filesystem::permissions(folder.path("zenity"), std::filesystem::perms::owner_all);
    NotedEditor editor;
    editor.frame->close();
    ASSERT_TRUE(editor.frame->openTop("frame"));
    std::string told;
    CFileSelector(*editor.frame)
        .run(FileDialog{false, "Save", folder.path(""), {}, "cvb"}, [&](const std::string& chosen) {
          told += chosen.empty() ? "none" : "@/" + chosen.substr(folder.path("").size());
        });
    const Held<CView> veil(editor.frame->getModalView());
    ASSERT_TRUE(veil);
    const bool waits = row.script[0] != 's';
    for (int i = 0; i < 1000 && told.empty() && editor.frame->getModalView() == veil.get(); ++i) {
      if (!waits && i > 10) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      editor.frame->idle();
    }
    const std::map<char, Key> keys = {{'r', Key::kReturn}, {'l', Key::kLeft}, {'e', Key::kEscape}};
    for (const char* key = row.then; *key != 0; ++key) {
      if (*key == 'c') editor.frame->close();
      if (*key == 'f') editor.frame->events().keyDown({Key::kNone, 'f', "f", {}});
      if (keys.contains(*key)) editor.frame->events().keyDown({keys.at(*key), 0, {}, {}});
    }
    EXPECT_EQ(told, row.told);
    EXPECT_EQ(editor.frame->getModalView(), nullptr);
  }
  ::setenv("PATH", path.c_str(), 1);
}

}  // namespace
