#include "state/preset_menu.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;

// Names with a slash at their end become folders.
void makeAll(const TestDirectory& directory, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    const fs::path path = directory.path(name);
    fs::create_directories(path.parent_path());
    if (name.back() != '/') writeBytes(path, "x");
  }
}

std::string outline(const PresetMenu& menu) {
  std::string text;
  for (const PresetMenu::Entry& entry : menu.entries) {
    if (!text.empty()) text += '|';
    text += entry.text;
    if (entry.submenu) text += '(' + outline(*entry.submenu) + ')';
  }
  return text;
}

std::string listed(const TestDirectory& directory, const std::string& extension = "cvb") {
  PresetMenu menu;
  walkPresetFolder(menu, directory.path(""), extension);
  return outline(menu);
}

TEST(PresetMenu, SortsByLeadingNumberThenBytesAndFilesFirst) {
  const struct {
    std::vector<std::string> names;
    const char* expected;
  } cases[] = {
      {{"1 A.cvb", "10 B.cvb", "2 C.cvb", "0 Z/"}, "1 A|2 C|10 B|0 Z()"},
      {{"b.cvb", "a.cvb", "B.cvb", "\xc3\xa4.cvb", "ab.cvb", "0 z.cvb"}, "0 z|B|a|ab|b|\xc3\xa4"},
      {{"-1.cvb", "+1.cvb", " 1.cvb", "01.cvb", "x9.cvb", "1x.cvb"}, "-1|x9| 1|+1|01|1x"},
      // Beyond any integer the bytes decide, and nothing wraps round.
      {{"99999999999999999999.cvb", "4294967297 b.cvb", "4294967296 c.cvb", "5.cvb",
        "-99999999999999999999.cvb"},
       "-99999999999999999999|5|4294967296 c|4294967297 b|99999999999999999999"},
      {{"2 F/a.cvb", "10 F/2.cvb", "10 F/10.cvb", "10 F/sub/", "1.cvb"},
       "1|2 F(a)|10 F(2|10|sub())"},
      // Folders of one text keep the order of their names.
      {{"v.7/g.cvb", "v.3/c.cvb", "v.5/e.cvb", "v.1/a.cvb", "v.6/f.cvb", "v.2/b.cvb", "v.4/d.cvb",
        "v.8/h.cvb"},
       "v(a)|v(b)|v(c)|v(d)|v(e)|v(f)|v(g)|v(h)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const TestDirectory directory;
    makeAll(directory, c.names);
    EXPECT_EQ(listed(directory), c.expected);
  }
}

TEST(PresetMenu, TakesFilesWithExactlyTheExtension) {
  const TestDirectory directory;
  makeAll(directory, {"a.b.cvb", "Case.CVB", "case.Cvb", "longer.cvbx", "shorter.cv", "cvb", "end.",
                      ".hidden.cvb", ".cvb", ".folder/a.cvb", "v1.5 set/x.cvb", "v1.4 set/y.cvb",
                      "folder.cvb/", "other.txt"});
  fs::create_symlink("a.b.cvb", directory.path("linked.cvb"));
  fs::create_symlink("nowhere", directory.path("broken.cvb"));
  mkfifo(directory.path("pipe.cvb").c_str(), 0600);
  EXPECT_EQ(listed(directory), "a.b|linked|folder()|v1(y)|v1(x)");
  EXPECT_EQ(listed(directory, "CVB"), "Case|folder()|v1()|v1()");
}

TEST(PresetMenu, PathsKeepTheFullNameAndFindTheirMenu) {
  const TestDirectory directory;
  makeAll(directory, {"v1.5/deep/x.cvb", "other/"});
  const std::string root = directory.path("");
  for (const std::string& path : {root, root.substr(0, root.size() - 1)}) {
    PresetMenu menu;
    menu.path = root;
    menu.entries.push_back({"first", nullptr});
    walkPresetFolder(menu, path, "cvb");
    EXPECT_EQ(outline(menu), "first|other()|v1(deep(x))");
    for (const char* const name : {"other/", "v1.5/", "v1.5/deep/"}) {
      PresetMenu* const found = menu.findSubmenu(root + name);
      ASSERT_NE(found, nullptr) << name;
      EXPECT_EQ(found->path, root + name);
    }
    EXPECT_EQ(menu.findSubmenu(root), &menu);
    for (const std::string& wrong : {root + "v1.5", root + "v1/", root + "V1.5/", std::string()}) {
      EXPECT_EQ(menu.findSubmenu(wrong), nullptr) << wrong;
    }
  }
  PresetMenu menu;
  for (const std::string& none : {std::string(), root + "absent", root + "v1.5/deep/x.cvb"}) {
    walkPresetFolder(menu, none, "cvb");
    EXPECT_EQ(outline(menu), "");
  }
}

TEST(PresetMenu, CirclesAndDepthsEnd) {
  const TestDirectory directory;
  makeAll(directory, {"set/a/1.cvb", "set/b/2.cvb"});
  fs::create_symlink(".", directory.path("set/self"));
  fs::create_symlink("../b", directory.path("set/a/to b"));
  fs::create_symlink("../a", directory.path("set/b/to a"));
  fs::create_symlink("../..", directory.path("set/a/up"));
  PresetMenu menu;
  walkPresetFolder(menu, directory.path("set"), "cvb");
  // Each folder is shown on every way to it that does not pass it already.
  EXPECT_EQ(outline(menu), "a(1|to b(2)|up())|b(2|to a(1|up()))");

  std::string deep = "deep/";
  for (int i = 1; i <= 40; ++i) deep += std::to_string(i) + '/';
  const TestDirectory other;
  makeAll(other, {deep});
  const std::string text = listed(other);
  EXPECT_NE(text.find("31("), std::string::npos);
  EXPECT_EQ(text.find("32("), std::string::npos);
}

}  // namespace
