#include "host/preset_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <functional>
#include <random>

#include "core/plug.h"
#include "host/alerts.h"
#include "state/chunk_codec.h"
#include "tests/core/plug_rig.h"
#include "tests/core/scripted_dialogs.h"
#include "tests/support/test_directory.h"

namespace {

using Texts = std::vector<std::string>;

/// An instance on a machine of its own.
class FileRig {
 public:
  using Prepare = std::function<void(const TestDirectory&)>;

  /// `prepare` fills the folders before the machine finds them.
  explicit FileRig(const Prepare& prepare = {})
      : machine(std::make_unique<MemoryStore>(), foldersIn(directory, prepare)) {
    std::filesystem::create_directories(directory.path("user/Presets/Sub"));
  }

  [[nodiscard]] std::string path(const std::string& name) const {
    return directory.path("user/Presets/" + name);
  }
  [[nodiscard]] std::string document() { return documentOf(plug); }
  [[nodiscard]] static std::string documentOf(Plug& plug) {
    plug.markChanged();
    void* data = nullptr;
    const auto size = static_cast<std::size_t>(plug.getChunk(&data, false));
    return *unpackChunk({static_cast<const char*>(data), size});
  }
  [[nodiscard]] std::vector<float> values() {
    std::vector<float> all = normalisedValues(plug);
    all[kABBank] = 0.0F;  // no part of a preset
    return all;
  }
  [[nodiscard]] std::string name() {
    std::array<char, ProgramRecord::kNameCapacity> text{};
    plug.getProgramName(text.data());
    return text.data();
  }
  [[nodiscard]] std::pair<std::string, int> place() {
    return {std::filesystem::path(editor.lastPresetFolder).parent_path().filename(),
            editor.lastPreset};
  }
  [[nodiscard]] Texts takeWarnings() {
    Alerts::instance().show(dialogs);
    return std::exchange(dialogs.warnings, {});
  }

  /// Every parameter of bank `bank` and of the bank behind it somewhere else, locks and links, too.
  void scramble(unsigned seed, int bank) {
    std::mt19937 random(seed);
    plug.setLockWords(Plug::FlagWords{});
    plug.switchBank((bank + 1) % Plug::kNumBanks);
    for (int round = 0; round < 2; ++round) {
      for (int i = 0; i < kABBank; ++i) {
        if (i != kBandOrder) plug.setParameter(i, static_cast<float>(random() % 1025) / 1024.0F);
      }
      plug.switchBank(bank);
    }
    Plug::FlagWords words{};
    for (auto& word : words) word = static_cast<std::int32_t>(random());
    plug.setLinkWords(words);
    plug.setLockWords(words);
    editor.currentBand = static_cast<int>(seed % 8);
    // Numbers as they come back from a document, so that states can be compared exactly.
    const std::string text = document();
    plug.setChunk(text.data(), static_cast<std::int32_t>(text.size()), false);
  }
  /// Saves a preset that is told from others by `kIpTrim`, with a place in it that is none.
  void makePreset(const std::string& file, float trim) {
    plug.setParameter(kIpTrim, trim);
    editor.lastPreset = 77;
    ASSERT_TRUE(files.savePreset(path(file), kPresetExtension, true)) << file;
    editor.lastPreset = 0;
  }

  static InstallFolders foldersIn(const TestDirectory& directory, const Prepare& prepare) {
    if (prepare) prepare(directory);
    return {directory.path("user"), directory.path("factory")};
  }

  TestDirectory directory;
  Machine machine;
  Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
  EditorState& editor = plug.editorState();
  PresetFiles& files = plug.presetFiles();
  ScriptedDialogs dialogs;
};

TEST(PresetFiles, SaveLoadUndoAndRedoKeepEveryParameterBankAndFlag) {
  for (const bool isPreset : {true, false}) {
    SCOPED_TRACE(isPreset ? "preset" : "bank");
    FileRig rig;
    const std::string extension = isPreset ? kPresetExtension : kBankExtension;
    const std::string path = rig.path("Saved." + extension);
    rig.scramble(1, 4);
    rig.editor.freeWidth = 1000;
    rig.dialogs.answer = path;
    rig.files.savePresetDialog(rig.dialogs, extension, isPreset);
    EXPECT_TRUE(rig.editor.presetMenuStale);
    const std::string saved = rig.document();
    const std::vector<float> savedValues = rig.values();

    rig.plug.setProgramName("Other");
    rig.scramble(2, 6);
    rig.editor.freeWidth = 1200;
    const std::string other = rig.document();
    ASSERT_NE(rig.values(), savedValues);
    rig.files.loadPresetDialog(rig.dialogs, extension);
    EXPECT_EQ(rig.values(), savedValues);
    EXPECT_EQ(rig.name(), "Saved");
    EXPECT_EQ(rig.editor.currentBand, 1);
    EXPECT_EQ(rig.plug.getCurrentBank(), isPreset ? 6 : 4);
    EXPECT_EQ(rig.editor.freeWidth, 1200) << "the window has moved";
    const std::string loaded = rig.document();
    rig.editor.freeWidth = 1000;
    if (!isPreset) {
      EXPECT_EQ(rig.document(), saved);
    }
    rig.editor.freeWidth = 1200;
    for (int round = 0; round < 2; ++round) {
      rig.plug.undo();
      EXPECT_EQ(rig.document(), other);
      EXPECT_FALSE(rig.plug.canUndo());
      rig.plug.redo();
      EXPECT_EQ(rig.document(), loaded);
      EXPECT_FALSE(rig.plug.canRedo());
    }
    EXPECT_FALSE(rig.editor.loadingFile);
    EXPECT_EQ(rig.takeWarnings(), Texts{});

    Texts asked;
    for (const FileDialog& dialog : rig.dialogs.asked) {
      asked.push_back((dialog.isOpen ? "open|" : "save|") + dialog.title + "|" +
                      dialog.startFolder + "|" + dialog.proposedName);
    }
    EXPECT_EQ(asked, (Texts{"save|Choose destination filename|" + rig.path("") + "|" +
                                rig.path("None." + extension),
                            "open|Select preset file|~/Desktop|"}));
    rig.dialogs.answer.clear();
    rig.files.savePresetDialog(rig.dialogs, extension, isPreset);
    rig.files.loadPresetDialog(rig.dialogs, extension);
    EXPECT_EQ(rig.document(), loaded) << "after cancel";
  }
}

TEST(PresetFiles, APresetSaveBetweenTwoSavesOfTheHostDoesNotReachTheHost) {
  FileRig rig;
  void* data = nullptr;
  const std::int32_t size = rig.plug.getChunk(&data, false);
  const std::string session(static_cast<const char*>(data), static_cast<std::size_t>(size));
  // A name without the extension leaves the program's own: nothing else has changed.
  ASSERT_TRUE(rig.files.savePreset(rig.path("plain"), kPresetExtension, true));
  const std::int32_t again = rig.plug.getChunk(&data, false);
  EXPECT_EQ(std::string(static_cast<const char*>(data), static_cast<std::size_t>(again)), session);
}

/// Three presets in the root, one in a folder and one of the factory.
class PresetSteps : public testing::Test {
 protected:
  PresetSteps() {
    rig.makePreset("1 A.CorvanthelisPreset", 0.125F);
    rig.makePreset("2 B.v2.CorvanthelisPreset", 0.25F);
    rig.makePreset("10 C.CorvanthelisPreset", 0.375F);
    rig.makePreset("Sub/X.CorvanthelisPreset", 0.5F);
    std::filesystem::create_directories(rig.directory.path("factory/Presets"));
    rig.makePreset("../../factory/Presets/F.CorvanthelisPreset", 0.625F);
    rig.plug.setProgramName("None");
    rig.plug.setParameter(kIpTrim, 1.0F);
    rig.files.buildPresetMenu();
  }
  void expectAt(const std::string& name, float trim, const std::string& folder, int index,
                bool previous, bool next) {
    EXPECT_EQ(rig.name(), name);
    EXPECT_EQ(rig.plug.getParameter(kIpTrim), trim);
    EXPECT_EQ(rig.place(), std::pair(folder, index));
    EXPECT_EQ(rig.files.previousEnabled(), previous);
    EXPECT_EQ(rig.files.nextEnabled(), next);
    EXPECT_FALSE(rig.editor.loadingFile);
    EXPECT_EQ(rig.takeWarnings(), Texts{});
  }

  FileRig rig;
};

TEST_F(PresetSteps, GoFromFileToFileAndUndoGoesBackAndOnFromThere) {
  const std::string root = rig.path("");
  rig.files.choosePreset(root, 1);
  expectAt("2 B.v2", 0.25F, "Presets", 1, true, true);
  rig.files.nextPreset();
  expectAt("10 C", 0.375F, "Presets", 2, true, false);
  const std::string atEnd = rig.document();
  rig.files.nextPreset();  // a submenu
  EXPECT_EQ(rig.document(), atEnd);
  rig.plug.undo();
  expectAt("2 B.v2", 0.25F, "Presets", 1, true, true);
  rig.plug.redo();
  expectAt("10 C", 0.375F, "Presets", 2, true, false);
  rig.plug.undo();
  rig.files.previousPreset();
  expectAt("1 A", 0.125F, "Presets", 0, false, true);
  EXPECT_FALSE(rig.plug.canRedo());
  rig.plug.setParameter(kIpTrim, 0.75F);
  rig.files.previousPreset();
  expectAt("1 A", 0.75F, "Presets", 0, false, true);

  rig.files.choosePreset(rig.path("Sub/"), 0);
  expectAt("X", 0.5F, "Sub", 0, false, false);
  rig.files.choosePreset(rig.directory.path("factory/Presets/"), 0);
  expectAt("F", 0.625F, "Presets", 0, false, false);
  EXPECT_EQ(rig.files.presetMenu()->entries.back().text, "Factory");
  rig.plug.undo();
  expectAt("X", 0.5F, "Sub", 0, false, false);
  rig.plug.undo();
  expectAt("1 A", 0.75F, "Presets", 0, false, true);
  rig.files.nextPreset();
  expectAt("2 B.v2", 0.25F, "Presets", 1, true, true);
}

// Damaged and vanished presets are told of, one by one while they are few, and passed over; where
// no other can be loaded, all stays.
TEST_F(PresetSteps, PassOverWhatCannotBeLoaded) {
  EXPECT_TRUE(rig.files.nextEnabled()) << "on a fresh instance";
  EXPECT_FALSE(rig.files.previousEnabled());
  writeBytes(rig.path("1 A.CorvanthelisPreset"), "damaged");
  rig.files.nextPreset();
  EXPECT_EQ(rig.takeWarnings().size(), 1U);
  expectAt("2 B.v2", 0.25F, "Presets", 1, true, true);
  for (int i = 3; i < 10; ++i) {
    rig.makePreset(std::to_string(i) + " L.CorvanthelisPreset", 0.75F);
  }
  rig.files.buildPresetMenu();
  rig.files.choosePreset(rig.path(""), 1);
  for (int i = 3; i < 10; ++i) {
    std::filesystem::remove(rig.path(std::to_string(i) + " L.CorvanthelisPreset"));
  }
  const auto expectTold = [this] {
    const Texts told = rig.takeWarnings();
    ASSERT_EQ(told.size(), 4U);
    EXPECT_NE(told[3].find("holds 4 more presets that cannot be loaded"), std::string::npos);
  };
  rig.files.nextPreset();
  expectTold();
  expectAt("10 C", 0.375F, "Presets", 9, true, false);
  rig.files.previousPreset();
  expectTold();
  expectAt("2 B.v2", 0.25F, "Presets", 1, true, true);
  rig.plug.undo();
  expectAt("10 C", 0.375F, "Presets", 9, true, false);
  rig.plug.redo();
  std::filesystem::remove(rig.path("10 C.CorvanthelisPreset"));
  const std::string before = rig.document();
  rig.files.nextPreset();
  rig.files.previousPreset();
  EXPECT_EQ(rig.takeWarnings().size(), 3U + 1U + 1U);
  EXPECT_EQ(rig.document(), before);
  expectAt("2 B.v2", 0.25F, "Presets", 1, true, true);
}

TEST_F(PresetSteps, OutliveTheMenuAndTheSession) {
  rig.files.choosePreset(rig.path(""), 0);
  rig.files.choosePreset(rig.path("Sub/"), 0);
  std::filesystem::remove_all(rig.path("Sub"));
  rig.files.buildPresetMenu();
  EXPECT_EQ(rig.files.currentPresetMenu(), nullptr);
  EXPECT_TRUE(rig.files.nextEnabled()) << "to the first one of all";
  rig.plug.undo();
  expectAt("1 A", 0.125F, "Presets", 0, false, true);
  rig.plug.redo();
  EXPECT_EQ(rig.plug.getParameter(kIpTrim), 0.5F) << "the state outlives its folder";
  rig.files.nextPreset();
  rig.files.nextPreset();

  Plug later(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, rig.machine);
  const std::string session = rig.document();
  later.setChunk(session.data(), static_cast<std::int32_t>(session.size()), false);
  later.presetFiles().nextPreset();
  EXPECT_EQ(FileRig::documentOf(later), session) << "without a menu";
  later.presetFiles().buildPresetMenu();
  later.presetFiles().nextPreset();
  EXPECT_EQ(later.getParameter(kIpTrim), 0.375F);

  // A place that is beyond any menu, as a document may tell it.
  for (const int beyond : {2147483647, -2147483647 - 1}) {
    rig.editor.lastPreset = beyond;
    EXPECT_FALSE(rig.files.nextEnabled());
    rig.files.nextPreset();
    rig.editor.lastPreset = beyond;
    rig.files.previousPreset();
    EXPECT_EQ(rig.editor.lastPreset, beyond > 0 ? 3 : 0);
  }
}

/// Makes everything that a refused file could spoil, then sees it unspoilt.
class RefusedFile : public PresetSteps {
 protected:
  RefusedFile() {
    rig.scramble(3, 2);
    rig.files.choosePreset(rig.path(""), 1);
    rig.files.nextPreset();
    rig.plug.undo();
    rig.plug.setLocked(kB1Ratio, true);
    rig.plug.setLinked(kB1Ratio, true);
    before = rig.document();
  }
  void expectUntouched(const std::string& path, const std::string& told) {
    const Texts warnings = rig.takeWarnings();
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_NE(warnings[0].find(path), std::string::npos) << warnings[0];
    EXPECT_NE(warnings[0].find(told), std::string::npos) << warnings[0];
    ASSERT_EQ(rig.document(), before);
    EXPECT_FALSE(rig.editor.loadingFile);
    EXPECT_TRUE(rig.plug.canRedo());
  }
  void expectRefused(const std::string& path, const std::string& told) {
    EXPECT_FALSE(rig.files.loadPresetFile(path));
    expectUntouched(path, told);
    rig.files.nextPreset();  // the same file, as the menu finds it
    expectUntouched(rig.path("10 C.CorvanthelisPreset"), told);
  }

  std::string before;
};

TEST_F(RefusedFile, LeavesEverythingAsItWasAndSaysSo) {
  const std::string path = rig.path("10 C.CorvanthelisPreset");
  const std::string good = readBytes(path);
  Texts damaged = {"", "no preset at all", "[1, 2]", "\"default\"", "ZIP ", "{"};
  // The last bytes of a packed document are its check sum: what is before is whole without them.
  for (std::size_t cut = 0; cut < good.size() - 8; cut += 31)
    damaged.push_back(good.substr(0, cut));
  for (std::size_t at = 0; at < good.size(); at += 17) {
    damaged.push_back(good);
    damaged.back()[at] = static_cast<char>(good[at] ^ 0x10);
  }
  for (std::size_t i = 0; i < damaged.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "damage " << i);
    writeBytes(path, damaged[i]);
    expectRefused(path, "Nothing has been changed");
  }
  std::filesystem::remove(path);
  expectRefused(path, "Failed to read from file " + path +
                          "\nThis is often due to permissions settings\n"
                          "Your data has not been loaded");
  std::filesystem::create_directories(path);
  expectRefused(path, "Failed to read from file");
  std::filesystem::remove(path);
  writeBytes(path, good);
  rig.files.nextPreset();
  expectAt("10 C", 0.375F, "Presets", 2, true, false);
  rig.plug.undo();
  EXPECT_EQ(rig.document(), before) << "a snapshot was left over";
}

TEST_F(RefusedFile, ThatCannotBeWrittenLeavesNameAndPlace) {
  rig.editor.lastPresetFolder = "/a folder that is gone/";
  before = rig.document();
  for (const std::string name : {"No such folder/New.CorvanthelisPreset", "Sub"}) {
    SCOPED_TRACE(name);
    rig.editor.presetMenuStale = false;
    EXPECT_FALSE(rig.files.savePreset(rig.path(name), kPresetExtension, true));
    expectUntouched(rig.path(name), "Failed to write to file " + rig.path(name) +
                                        "\nThis is often due to permissions settings\n"
                                        "Your data has not been saved");
    EXPECT_FALSE(rig.editor.presetMenuStale);
  }
}

TEST(PresetFiles, TheProgramTakesItsNameFromAFileOfItsKind) {
  FileRig rig;
  std::filesystem::create_directories(rig.path("Sub/dot.ted"));
  std::string longName;
  for (int i = 0; i < 62; ++i) longName += 'n';
  const struct {
    std::string file;
    std::string wanted;
  } cases[] = {{"a.b.CorvanthelisPreset", "a.b"},
               {"Sub/dot.ted/x.CorvanthelisPreset", "x"},
               {"Sub/dot.ted/none", "Own"},
               {"c.CorvanthelisBank", "Own"},
               {"d.corvanthelisPreset", "Own"},
               {"win\\e.CorvanthelisPreset", "e"},
               // Two-byte letters from an odd byte on: the 63rd byte would be half of one.
               {longName + "\u00e4\u00e4 and more.CorvanthelisPreset", longName}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    rig.plug.setProgramName("Own");
    ASSERT_TRUE(rig.files.savePreset(rig.path(c.file), kPresetExtension, true));
    EXPECT_EQ(rig.name(), c.wanted);
    rig.plug.setProgramName("Changed");
    ASSERT_TRUE(rig.files.loadPresetFile(rig.path(c.file)));
    EXPECT_EQ(rig.name(), c.file == "c.CorvanthelisBank" ? "c" : c.wanted);
  }
  // The extension alone tells a bank.
  rig.plug.switchBank(3);
  ASSERT_TRUE(rig.files.savePreset(rig.path("All.CorvanthelisBank"), kBankExtension, false));
  std::filesystem::copy_file(rig.path("All.CorvanthelisBank"), rig.path("All.corvanthelisbank"));
  for (const std::string file : {"All.corvanthelisbank", "All.CorvanthelisBank"}) {
    rig.plug.switchBank(0);
    ASSERT_TRUE(rig.files.loadPresetFile(rig.path(file)));
    EXPECT_EQ(rig.plug.getCurrentBank(), file == "All.CorvanthelisBank" ? 3 : 0);
  }
}

TEST(PresetFiles, NewInstancesBeginWithTheOwnDefaultOrElseTheFactorys) {
  FileRig maker;
  maker.scramble(6, 5);
  const std::string factoryBank = maker.path("F.CorvanthelisBank");
  ASSERT_TRUE(maker.files.savePreset(factoryBank, kBankExtension, false));
  const std::string factoryDocument = maker.document();

  FileRig rig([&](const TestDirectory& folder) {
    std::filesystem::create_directories(folder.path("factory"));
    std::filesystem::copy_file(factoryBank, folder.path("factory/Factory Bank.CorvanthelisBank"));
  });
  EXPECT_EQ(rig.document(), factoryDocument);

  std::filesystem::remove_all(rig.directory.path("user"));
  rig.scramble(7, 1);
  ASSERT_TRUE(rig.files.saveAsDefault());
  const auto newInstance = [&rig] {
    Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, rig.machine);
    return FileRig::documentOf(plug);
  };
  const std::string own = rig.document();
  EXPECT_EQ(newInstance(), own);

  rig.scramble(8, 1);
  std::filesystem::remove_all(rig.directory.path("user"));
  writeBytes(rig.directory.path("user"), "in the way");
  EXPECT_FALSE(rig.files.saveAsDefault());
  EXPECT_EQ(newInstance(), factoryDocument);
  EXPECT_EQ(rig.takeWarnings(), Texts{});
  Machine homeless(std::make_unique<MemoryStore>(), {});
  Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, homeless);
  EXPECT_FALSE(plug.presetFiles().saveAsDefault());
}

TEST(PresetFiles, AFileIsWholeWheneverTheProgramIsKilledInASave) {
  FileRig rig;
  const std::string path = rig.path("Mine.CorvanthelisPreset");
  std::array<std::string, 2> wanted;
  const auto save = [&](int turn) {
    rig.plug.setParameter(kIpTrim, turn == 0 ? 0.25F : 0.75F);
    return rig.files.savePreset(path, kPresetExtension, true);
  };
  for (const int turn : {1, 0}) {
    ASSERT_TRUE(save(turn));
    wanted[static_cast<std::size_t>(turn)] = readBytes(path);
  }
  std::mt19937 random(9);
  std::array<int, 2> seen{};
  for (int round = 0; round < 40; ++round) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (int turn = 1;; turn = 1 - turn) save(turn);
    }
    ::usleep(static_cast<useconds_t>(random() % 20000));
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    const std::string bytes = readBytes(path);
    ASSERT_TRUE(bytes == wanted[0] || bytes == wanted[1]) << "after " << round << " kills";
    ++seen[bytes == wanted[0] ? 0 : 1];
  }
  EXPECT_GT(seen[1], 0) << "no save ever got through";
  rig.files.buildPresetMenu();
  EXPECT_EQ(rig.files.presetMenu()->entries.front().text, "Mine") << "what was left is shown";
}

}  // namespace
