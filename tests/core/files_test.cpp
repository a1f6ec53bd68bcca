// Whole states through documents and files, damaged files, and files that are not written to the
// end.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/core/edit_script.h"

namespace {

using E = EditorState;

constexpr std::array kNumbers = {&E::lastAB,    &E::lastListen, &E::linkPage,
                                 &E::zoomState, &E::bandGraph,  &E::meterChannel,
                                 &E::meterZoom, &E::meterShow,  &E::lastPreset};

/// Everything that a document carries, somewhere else; each part of the editor's is seen in it.
void changeAll(Plug& plug, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> anywhere(0.0F, 1.0F);
  plug.setLockWords(Plug::FlagWords{});
  plug.setLinkWords(Plug::FlagWords{});
  for (int bank = 0; bank < Plug::kNumBanks; ++bank) {
    const UpdateHold hold(plug.updates());
    for (int id = 0; id < kABBank; ++id) plug.setParameter(id, anywhere(random));
    plug.copyToBank(bank);
  }
  EditorState& editor = plug.editorState();
  std::string before = chunkOf(plug);
  const auto expectOther = [&] {
    const std::string now = chunkOf(plug);
    EXPECT_TRUE(std::exchange(before, now) != now);
  };
  const auto change = [&](SharedNumber<int>& field, int from, int count) {
    field = field == from ? from + 1 + static_cast<int>(random() % static_cast<unsigned>(count - 1))
                          : from;
    expectOther();
  };
  for (const auto field : kNumbers) change(editor.*field, 0, 9);
  change(editor.currentBand, 0, 8);
  if (seed < 50) {  // a file that is loaded leaves the window
    change(editor.uimode, 0, 3);
    editor.wantedUimode = editor.uimode;
    change(editor.freeWidth, 500, 2000);
  }
  editor.meterRange = anywhere(random);
  expectOther();
  editor.lastPresetFolder = "/pre sets/\"x\"\\" + std::to_string(seed) + "/";
  expectOther();
  plug.uiSettings().setUiValue("Graph", "Range", 1 + seed % 5);
  plug.uiSettings().setUiValue("Analyser", "Tilt", 3);
  expectOther();
  plug.setProgramName("Mix 7");
  plug.switchBank(static_cast<int>(random() % 8));
  for (int i = 0; i < 60; ++i) {
    plug.setLocked(static_cast<int>(random() % kNumParams), true);
    plug.setLinked(static_cast<int>(random() % kNumParams), true);
  }
  load(plug, chunkOf(plug));  // numbers as they come back, to be compared exactly
}

TEST(PlugDocument, ComesBackFromDocumentsPresetsAndBanksWithUndoAndRedo) {
  PlugRig rig;
  Plug& plug = rig.plug;
  plug.setCompressionLevel(0);
  const TestDirectory directory;
  for (unsigned seed = 0; seed < 12; ++seed) {
    SCOPED_TRACE(seed);
    changeAll(plug, seed);
    const bool isPreset = seed % 2 == 0;
    const char* const extension = isPreset ? kPresetExtension : kBankExtension;
    const std::string path = directory.path(std::string("S.") + extension);
    ASSERT_TRUE(plug.presetFiles().savePreset(path, extension, isPreset));
    const std::string first = chunkOf(plug);
    const std::string program = chunkOf(plug, true);
    changeAll(plug, seed + 51);
    plug.clearHistory();
    const std::string other = chunkOf(plug);
    ASSERT_TRUE(plug.presetFiles().loadPresetFile(path));
    const std::string loaded = documentOf(plug);
    if (isPreset) {
      EXPECT_TRUE(chunkOf(plug, true).starts_with(program.substr(0, program.find("\"name\""))));
    } else {
      EXPECT_EQ(loaded, first);
    }
    for (int round = 0; round < 2; ++round) {
      plug.undo();
      ASSERT_EQ(documentOf(plug), other);
      EXPECT_FALSE(plug.canUndo());
      plug.redo();
      ASSERT_EQ(documentOf(plug), loaded);
      EXPECT_FALSE(plug.canRedo());
    }
    changeAll(plug, seed + 1);
    plug.editorState().layoutWanted = plug.editorState().flagsStale = false;
    load(plug, first);
    EXPECT_TRUE(plug.editorState().layoutWanted && plug.editorState().flagsStale);
    ASSERT_EQ(documentOf(plug), first);
  }
}

TEST(PresetFiles, DamagedOnesChangeNothing) {
  const TestDirectory directory;
  EditScript script(directory);
  script.run("folder user/Presets; save user/Presets/A.CorvanthelisPreset preset; set IpTrim 3");
  script.run(
      "save user/Presets/B.CorvanthelisPreset preset; menu; pick user/Presets/ 0; next; undo");
  script.run("set IpTrim 5; link B1Ratio; lock B1Ratio");
  const std::string path = directory.path("user/Presets/B.CorvanthelisPreset");
  const std::string good = readBytes(path);
  std::vector<std::string> damaged = {"", "no preset at all", "[1, 2]", "\"default\"", "ZIP ", "{"};
  // The last bytes of a packed document are its check sum: what is before is whole without them.
  for (std::size_t i = 0; i < good.size() - 8; i += 3) {
    damaged.push_back(good.substr(0, i));
    damaged.push_back(good);
    // All of its bits: one may only name another place where the same text stands.
    damaged.back()[i] = static_cast<char>(~good[i]);
  }
  for (std::size_t i = 0; i < damaged.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "damage " << i);
    writeBytes(path, damaged[i]);
    script.run("remember; noload user/Presets/B.CorvanthelisPreset; same; canredo 1");
    script.run("warned ...Nothing has been changed; next; warned ...Nothing has been changed");
    script.run("same; canredo 1");
  }
  writeBytes(path, good);
  script.run("next; at B 3 user/Presets/1 previous; undo; same");
  script.note();
}

TEST(PresetFiles, AFileIsWholeWheneverTheProgramIsKilledInASave) {
  PlugRig rig;
  const TestDirectory directory;
  const std::string path = directory.path("Mine.CorvanthelisPreset");
  std::array<std::string, 2> wanted;
  const auto save = [&](std::size_t turn) {
    rig.plug.setParameter(kIpTrim, turn == 0 ? 0.25F : 0.75F);
    return rig.plug.presetFiles().savePreset(path, kPresetExtension, true);
  };
  for (const std::size_t turn : {1U, 0U}) {
    ASSERT_TRUE(save(turn));
    wanted.at(turn) = readBytes(path);
  }
  EXPECT_FALSE(rig.plug.presetFiles().saveAsDefault()) << "there is no folder for it";
  std::mt19937 random(9);
  int done = 0;
  for (int round = 0; round < 40; ++round) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (std::size_t turn = 1;; turn = 1 - turn) save(turn);
    }
    ::usleep(static_cast<useconds_t>(random() % 20000));
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    const std::string bytes = readBytes(path);
    ASSERT_TRUE(bytes == wanted[0] || bytes == wanted[1]) << "after " << round << " kills";
    done += bytes == wanted[1] ? 1 : 0;
  }
  EXPECT_GT(done, 0) << "no save ever got through";
  PresetMenu shown;
  walkPresetFolder(shown, directory.path(""), kPresetExtension);
  ASSERT_EQ(shown.entries.size(), 1U) << "what was left is shown";
}

TEST(NewInstance, PlaysItsDefaultBankFromTheFirstSampleAtItsRate) {
  const TestDirectory directory;
  PlugRig rig("OpTrim=6 B1Frequency=400 B2State=1 B2Type=1 B2Frequency=3000 B2Gain=9 B1Lookahead=3",
              48000.0, {directory.path(""), ""});
  ASSERT_TRUE(rig.plug.presetFiles().saveAsDefault());
  for (const float rate : {44100.0F, 96000.0F}) {
    const auto make = [&rig](float atRate) {
      return std::make_unique<Plug>(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds,
                                    rig.machine, nullptr, atRate);
    };
    const auto atOnce = make(rate);
    const auto later = make(32000.0F);
    later->setSampleRate(rate);
    later->resume();
    EXPECT_EQ(atOnce->getAeffect()->initialDelay, later->getAeffect()->initialDelay);
    EXPECT_EQ(atOnce->getPlainValue(kOpTrim), 6.0F);
    const auto input = noise<double>(9000);
    EXPECT_TRUE(render(*atOnce, input, 200) == render(*later, input, 200)) << rate;
  }
}

}  // namespace
