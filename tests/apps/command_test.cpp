// What the built program does, tells and leaves: data/*.txt say it line by line.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "apps/effect_runner.h"
#include "core/parameter_table.h"
#include "state/chunk_codec.h"
#include "state/json_document.h"
#include "tests/apps/program.h"

namespace {

namespace fs = std::filesystem;

using Command = ProgramTest;

TEST_F(Command, answersAsItIsAsked) { follow("answers.txt"); }
TEST_F(Command, failsAsItIsTold) { follow("failures.txt"); }
TEST_F(Command, drawsCurves) { follow("curves.txt"); }
TEST_F(Command, rendersAndReports) { follow("renders.txt"); }
TEST_F(Command, readsAndWritesAudioOfEveryKind) { follow("audio_files.txt"); }

TEST_F(Command, listsEveryParameterForPeopleAndMachines) {
  const std::string table = run("params").out;
  EXPECT_EQ(std::ranges::count(table, '\n'), kNumParams + 1);
  const JsonTree list(jsonParse(run("params --json").out.c_str()));
  ASSERT_EQ(jsonGetArraySize(list.get()), kNumParams);
  const JsonNode* entry = list->child;
  for (int id = 0; id < kNumParams; ++id, entry = entry->next) {
    const auto text = [&](const char* key) { return jsonGetObjectItem(entry, key)->valueString; };
    const auto number = [&](const char* key) {
      return static_cast<float>(jsonGetObjectItem(entry, key)->valueDouble);
    };
    const ParameterRecord& record = kParameterTable[static_cast<std::size_t>(id)];
    const std::string name(parameterKeyTable().name(id));
    EXPECT_EQ(jsonGetArraySize(entry), 9);
    EXPECT_EQ((std::vector<std::string>{text("id"), text("name"), text("label")}),
              (std::vector<std::string>{name, record.name, record.label}));
    EXPECT_EQ((std::vector{number("number"), number("default"), number("min"), number("max"),
                           number("curve"), number("group")}),
              (std::vector{float(id), record.value, record.min, record.max, float(record.curve),
                           isBandParameter(id) ? float(name[2] - '0') : 0.0F}))
        << name;
  }
}

/// Stored states, presets, banks and band files.
class StateFiles : public ProgramTest {
 protected:
  void SetUp() override {
    // A copy finds its factory content beside it, whatever the build folder holds.
    program = file("bin/corvanthelis");
    fs::create_directory(file("bin"));
    fs::copy_file(CORVANTHELIS_PROGRAM, program);
    writeAudio(file("in.wav"), makeSignal(6000, 2, 48000, 7));
    writeBytes(file("neutral.json"), R"({"parameters":"default","v101":true})");
    HostedPlug plug(false);
    set(plug, {"kIpTrim=3", "kB1Threshold=-30", "kB1Ratio=0.25", "kB2State=1", "kB2Frequency=4000",
               "kB2Type=1", "kB2Threshold=-36", "kB2Ratio=-0.5"});
    plug.setProgramName("Sound");
    store("preset", plug, true, 9);
    store("plain.json", plug, true, 0);
    plug.copyToBank(2);
    plug.switchBank(2);
    set(plug, {"kB1Threshold=-42", "kB5Knee=40"});
    plug.setLocked(kIpTrim, true);
    plug.setLinked(kB1Threshold, true);
    plug.setLinked(bandParameterId(1, kB1Threshold), true);
    store("bank", plug, false, 9);
    std::string band;
    plug.saveBand(band, 0);
    writeBytes(file("band.cvb"), band + '\0');
    for (const std::string name : {"home/10 Loud", "home/2 Warm", "home/a.b", "home/Drums/Kick",
                                   "share/Drums/Kick", "share/Drums/Snare"}) {
      const std::size_t slash = name.find('/');
      const fs::path path = file(name.substr(0, slash) + "/Halvekro/Corvanthelis/Presets" +
                                 name.substr(slash) + ".CorvanthelisPreset");
      fs::create_directories(path.parent_path());
      fs::copy_file(file("preset"), path);
    }
  }

  static void set(Plug& plug, const std::vector<std::string>& texts) {
    std::vector<std::string> warnings;
    for (const std::string& text : texts) {
      applySettings(plug, std::array{parseSetting(text, false, warnings)});
    }
  }

  void store(const char* name, Plug& plug, bool isPreset, int compression) const {
    plug.setCompressionLevel(compression);
    plug.setParameter(kBypass, 0.0F);  // no state handed out before
    void* data = nullptr;
    const auto size = static_cast<std::size_t>(plug.getChunk(&data, isPreset));
    writeBytes(file(name), {static_cast<const char*>(data), size});
  }
};

TEST_F(StateFiles, soundAsTheirValuesDo) {
  follow("sounds.txt");
  EXPECT_FALSE(fs::exists(file("home/Halvekro/Corvanthelis/settings.json")));
}

TEST_F(StateFiles, answerAsTheyAreAskedWhereverTheirPackedTextEnds) {
  std::string many = "\"" + std::string(1'000'000, 'k') + "\":1,\"a\\nb\":1";
  for (int i = 0; i < 30'000; ++i) many += ",\"kB1Gain" + std::to_string(i) + "\":1";
  writeBytes(file("many.json"), R"({"parameters":{)" + many + R"(},"v101":true})");
  follow("states.txt");
  const std::string text = readBytes(file("neutral.json"));
  const std::string shown = run("state show @neutral.json").out;
  for (const std::size_t size : {8191U, 8192U, 8193U, 16384U, 65536U}) {
    const auto packed = packChunk(text + std::string(size - text.size(), ' '), 9);
    ASSERT_TRUE(packed);
    // A writer may have left out the check at the end of the stream.
    for (const std::size_t missing : {0U, 4U}) {
      writeBytes(file("ends"), packed->substr(0, packed->size() - missing));
      EXPECT_EQ(run("state show @ends").out, shown) << size << " bytes, missing " << missing;
    }
  }
}

TEST_F(StateFiles, areRefusedWhereTheyAreDamagedOrOfTheWrongKind) {
  std::string flipped = readBytes(file("bank"));
  flipped[flipped.size() / 2] ^= 0x10;
  const std::string plain = readBytes(file("plain.json"));
  const std::string large(2 * kMostDocumentBytes, 'x');
  writeBytes(file("flipped"), flipped);
  writeBytes(file("half"), plain.substr(0, plain.find("kB1Ratio")));
  writeBytes(file("bomb"), *packChunk("{\"v101\":true,\"x\":\"" + large + "\"}", 9));
  writeBytes(file("large"), "{\"name\":\"" + large + "\"}");
  writeBytes(file("deep"), "{\"name\":" + std::string(600, '['));
  writeBytes(file("behind"), plain + "x");
  follow("state_failures.txt");
}

}  // namespace
