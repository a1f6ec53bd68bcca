// How the built program reads, makes and uses stored states, presets, banks and band files.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <array>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "apps/effect_runner.h"
#include "state/chunk_codec.h"
#include "state/json_document.h"
#include "tests/apps/program.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

std::string chunkOf(Plug& plug, bool isPreset, bool isPacked = true) {
  plug.setCompressionLevel(isPacked ? 9 : 0);
  plug.setParameter(kBypass, 0.0F);  // no state handed out before
  void* data = nullptr;
  const std::int32_t size = plug.getChunk(&data, isPreset);
  return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
}

/// As `--set` takes them; the same values for the effect itself.
struct Value {
  const char* id;
  float plain;
};
const std::vector<Value> kSound = {{"kIpTrim", 3.0F},        {"kB1Threshold", -30.0F},
                                   {"kB1Ratio", 0.75F},      {"kB2State", 1.0F},
                                   {"kB2Frequency", 4e3F},   {"kB2Type", 1.0F},
                                   {"kB2Threshold", -24.0F}, {"kB2Ratio", -0.5F}};

/// Behind a preset of defaults: values that were loaded have been through 0..1 and may differ from
/// the table's own numbers in the last bit.
std::string setOptions(const std::vector<Value>& values) {
  std::string options = " --preset @neutral.json";
  for (const Value& value : values) {
    options += std::string(" --set ") + value.id + "=" + std::to_string(value.plain);
  }
  return options;
}

void setValues(Plug& plug, const std::vector<Value>& values) {
  for (const Value& value : values) {
    applySettings(plug, std::array{Setting{parameterNumber(value.id), false, value.plain}});
  }
}

class StateFiles : public ProgramTest {
 protected:
  void SetUp() override {
    for (const char* const name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) {
      ::setenv(name, file("home").c_str(), 1);
    }
    ::unsetenv("CORVANTHELIS_PATH");
    writeAudio(file("in.wav"), makeSignal(6000, 2, 48000, 7));
    HostedPlug plug(false);
    setValues(plug, kSound);
    plug.setProgramName("Sound");
    writeBytes(file("neutral.json"), R"({"parameters":"default","v101":true})");
    writeBytes(file("preset"), chunkOf(plug, true));
    writeBytes(file("plain.json"), chunkOf(plug, true, false));
    plug.copyToBank(2);
    plug.switchBank(2);
    setValues(plug, {{"kB1Threshold", -12.0F}, {"kB5Knee", 40.0F}});
    plug.setLocked(kIpTrim, true);
    plug.setLinked(kB1Threshold, true);
    plug.setLinked(bandParameterId(1, kB1Threshold), true);
    writeBytes(file("bank"), chunkOf(plug, false));
    std::string band;
    plug.saveBand(band, 0);
    writeBytes(file("band.cvb"), band + '\0');
  }

  /// A hash of what a render with these options writes; it must not warn.
  std::size_t rendered(const std::string& options) {
    const ProgramRun result = run("render @in.wav @out.wav --quiet " + options);
    EXPECT_EQ(result.status, 0) << options;
    EXPECT_EQ(result.err, "") << options;
    return std::hash<std::string>()(readBytes(file("out.wav")));
  }

  void writePreset(const std::string& path) const {
    fs::create_directories(fs::path(file(path)).parent_path());
    fs::copy_file(file("preset"), file(path + ".CorvanthelisPreset"));
  }
};

TEST_F(StateFiles, packUndoesShow) {
  for (const char* name : {"preset", "bank", "band.cvb"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(run(std::string("state show @") + name + " >@shown.json").status, 0);
    const std::string document = readBytes(file("shown.json"));
    EXPECT_TRUE(document.starts_with("{\n\t\"")) << document.substr(0, 20);
    EXPECT_EQ(run("state pack @shown.json @packed").err, "");
    EXPECT_EQ(readBytes(file("packed")), readBytes(file(name)));
    // An editor's byte order mark is no part of the document.
    writeBytes(file("shown.json"), "\xEF\xBB\xBF" + document);
    EXPECT_EQ(run("state pack @shown.json @packed").status, 0);
    EXPECT_EQ(readBytes(file("packed")), readBytes(file(name)));
  }
  EXPECT_EQ(run("state show @plain.json").out, run("state show @preset").out);
}

TEST_F(StateFiles, aFileSoundsAsItsValuesDo) {
  const std::size_t wanted = rendered(setOptions(kSound));
  EXPECT_NE(wanted, rendered(""));
  for (const char* option : {"--preset @preset", "--preset @plain.json", "--state @preset"}) {
    EXPECT_EQ(rendered(option), wanted) << option;
  }
  // A state sounds as the bank that was live, a bank as a preset as its program.
  std::vector<Value> live = kSound;
  live.insert(live.end(), {{"kB1Threshold", -12.0F}, {"kB5Knee", 40.0F}});
  EXPECT_EQ(rendered("--state @bank"), rendered(setOptions(live)));
  EXPECT_EQ(rendered("--bank @bank"), rendered(setOptions(live)));

  std::string document = run("state show @preset").out;
  replaceAll(document, "\"kIpTrim\":\t0.5625", "\"kIpTrim\":\t0.75");
  writeBytes(file("edited.json"), document);
  EXPECT_EQ(rendered("--preset @edited.json"), rendered(setOptions(kSound) + " --set kIpTrim=12"));
}

TEST_F(StateFiles, laterOptionsWinWhateverTheOrderTheyStandIn) {
  // The bank's present band 1 has a threshold of -12; the preset's band 2 is a dynamic EQ band.
  const std::string band = " --set kB2Threshold=-12 --set kB2Ratio=0.75 --set kB2Slope=24";
  const std::size_t all = rendered(setOptions(kSound) + band + " --set kOpTrim=2");
  EXPECT_EQ(rendered("--bank @bank --preset @preset --band 2=@band.cvb --set kOpTrim=2"), all);
  EXPECT_EQ(rendered("--set kOpTrim=2 --band-file 2=@band.cvb --preset @preset --state @bank"),
            all);
  EXPECT_EQ(rendered("--preset @preset --band 2=@band.cvb --set kB2Ratio=-0.5 --set kOpTrim=2"),
            rendered(setOptions(kSound) + band + " --set kB2Ratio=-0.5 --set kOpTrim=2"));
  // The bank's lock and links do not hold.
  EXPECT_EQ(
      rendered("--state @bank --set kIpTrim=-3 --set kB1Threshold=-40"),
      rendered(setOptions(kSound) + " --set kB5Knee=40 --set kIpTrim=-3 --set kB1Threshold=-40"));
  const ProgramRun told = run("render @in.wav @out.wav --json --bank @bank --band 3=@band.cvb");
  const JsonTree report(jsonParse(told.out.c_str()));
  const JsonNode* const loaded = jsonGetObjectItem(report.get(), "loaded");
  ASSERT_EQ(jsonGetArraySize(loaded), 2);
  EXPECT_STREQ(jsonGetArrayItem(loaded, 1)->valueString, "@band.cvb");
}

TEST_F(StateFiles, otherCommandsTakeFilesToo) {
  HostedPlug plug(false);
  setValues(plug,
            {{"kB2State", 1.0F}, {"kB2Frequency", 4e3F}, {"kOversample", 2.0F}, {"kB3LR", 1.0F}});
  writeBytes(file("low"), chunkOf(plug, true));
  EXPECT_EQ(run("latency --preset @low").out,
            run("latency --set kB2State=1 --set kB2Frequency=4000 --set kOversample=2").out);
  EXPECT_NE(run("latency --preset @low").out, run("latency").out);
  EXPECT_EQ(run("format --preset @low kB3Position 0").out, "LEFT\n");
  const std::string band = "curve --band 2 --measured --points 9 ";
  EXPECT_EQ(
      run(band + "--state @low").out,
      run(band +
          "--preset @neutral.json --set kB2State=1 --set kB2Frequency=4000 --set kOversample=2")
          .out);
  EXPECT_EQ(lineCount(run(band + "--state @low").out), 10);
  EXPECT_EQ(run("curve --band 2 --state @low --band-file 2=@low").status, 1);
}

TEST_F(StateFiles, whatIsNoDocumentIsRefusedAndNothingIsWritten) {
  const std::string bank = readBytes(file("bank"));
  std::string flipped = bank;
  flipped[flipped.size() / 2] ^= 0x10;
  const std::string plain = readBytes(file("plain.json"));
  const std::string large(2 * kMostDocumentBytes, 'x');
  const struct {
    const char* name;
    std::string bytes;
    const char* reason;
  } files[] = {
      {"none", "", "No such file"},
      {"folder", "", "directory"},
      {"empty", "", "@empty: is empty"},
      {"text", "dear diary", "@text: holds no document"},
      {"list", "[1, 2]", "@list: holds no document, but another JSON value"},
      {"other", "{\"a\": 1}", "@other: holds no document: neither"},
      {"flipped", flipped, "@flipped: is damaged"},
      {"cut", bank.substr(0, bank.size() / 2), "the text breaks off here"},
      {"half", plain.substr(0, plain.find("kB1Ratio")), "@half:5:4: the text breaks off here"},
      {"comma", "{\n\"parameters\": {\n\t\"kIpTrim\": 0.5,\n}}",
       "@comma:4:1: no JSON from here on: '}}'"},
      {"bracket", "{\n\"parameters\": {\n\"kIpTrim\": 1}}, \"name\": \"x\"}",
       "@bracket:3:23: no JSON"},
      {"bomb", *packChunk(plain.substr(0, plain.size() - 3) + ",\"x\":\"" + large + "\"}", 9),
       "@bomb: is damaged: its packed text"},
      {"large", "{\"name\":\"" + large + "\"}", "@large: is damaged: larger than any document"},
      {"deep", "{\"name\":" + std::string(600, '['), "@deep: is damaged: larger than any"},
      {"behind", plain + "x", "@behind: is damaged: more bytes lie behind"},
  };
  fs::create_directory(file("folder"));
  for (const auto& each : files) {
    if (!each.bytes.empty() || each.name == std::string("empty")) {
      writeBytes(file(each.name), each.bytes);
    }
  }
  const struct {
    const char* arguments;
    const char* consequence;
  } commands[] = {
      {"render @in.wav @new --format f32 --state @", "nothing was rendered"},
      {"render @in.wav @new --format f32 --preset @preset --band 8=@", "nothing was rendered"},
      {"state pack @", "nothing was written"},
      {"band load @bank 1 @", "nothing was written"},
      {"state check @", ""},
      {"state diff @bank @", ""},
  };
  writeBytes(file("new"), "what stood there");
  const std::vector<std::string> before = directory.names();
  for (const auto& each : files) {
    for (const auto& command : commands) {
      const std::string arguments = std::string(command.arguments) + each.name + " @new";
      const bool isWriting = arguments.find("pack") != std::string::npos ||
                             arguments.find("load") != std::string::npos;
      const std::string whole = isWriting ? arguments : arguments.substr(0, arguments.rfind(' '));
      SCOPED_TRACE(whole);
      const ProgramRun result = run(whole);
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(lineCount(result.err), 1) << result.err;
      EXPECT_NE(result.err.find(each.reason), std::string::npos) << result.err;
      EXPECT_NE(result.err.find(command.consequence), std::string::npos) << result.err;
    }
  }
  EXPECT_EQ(directory.names(), before);
  EXPECT_EQ(readBytes(file("new")), "what stood there");
}

TEST_F(StateFiles, noFileIsMadeOfNumbersThatNoTextCanHold) {
  for (const char* const number : {"1e999", "-1e999", "[0, 1e999]"}) {
    writeBytes(file("odd.json"), R"({"parameters":"default","v101":true,"other":)"s + number + "}");
    writeBytes(file("new"), "what stood there");
    for (const char* const command : {"state pack @odd.json @new", "state show @odd.json"}) {
      const ProgramRun result = run(command);
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err.find("corvanthelis: @odd.json: "), 0U) << result.err;
      EXPECT_NE(result.err.find("beyond all bounds"), std::string::npos) << result.err;
    }
    EXPECT_EQ(readBytes(file("new")), "what stood there");
  }
}

TEST_F(StateFiles, ofManyFaultsTenAreToldWithNamesThatALineCanHold) {
  std::string members = "\"" + std::string(1'000'000, 'k') + "\":1,\"a\\nb\":1";
  for (int i = 0; i < 30'000; ++i) members += ",\"kB1Gain" + std::to_string(i) + "\":1";
  writeBytes(file("many.json"), R"({"parameters":{)" + members + R"(},"v101":true})");
  const ProgramRun result = run("state pack @many.json @new");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(lineCount(result.err), 11);
  EXPECT_LT(result.err.size(), 2000U);
  for (const char* const part : {"kkk...'\n", "'a?b'; the nearest are", "and 29992 more"}) {
    EXPECT_NE(result.err.find(part), std::string::npos) << part << result.err;
  }
}

TEST_F(StateFiles, filesOfTheWrongKindAndWrongArgumentsAreToldApart) {
  const struct {
    const char* arguments;
    int status;
    const char* reason;
  } cases[] = {
      {"render @in.wav @new --preset @band.cvb", 1, "a single band; load it with --band"},
      {"render @in.wav @new --band 1=@preset", 1, "is no band file"},
      {"render @in.wav @new --bank @preset", 1, "is a preset and no bank"},
      {"render @in.wav @new --preset Nobody", 1, "nor a preset of that name"},
      {"render @in.wav @new --band 9=@band.cvb", 2, "N=FILE with N from 1 to 8"},
      {"render @in.wav @new --band @band.cvb", 2, "N=FILE"},
      {"render @in.wav @new --preset ''", 2, "--preset: the name is empty"},
      {"render @in.wav @new --state @bank --bank @bank", 2, "--state"},
      {"render @in.wav @p.wav --preset @p.wav", 2, "would overwrite"},
      {"render @in.wav @b.wav --state @bank --band 1=@b.wav", 2, "would overwrite"},
      {"state pack @preset @preset", 2, "would overwrite"},
      {"state pack @preset @nowhere/new", 1, "nothing was written"},
      {"state pack @preset /dev/full", 1, "No space left"},
      {"state diff @bank @band.cvb", 1, "@band.cvb: is a band file"},
      {"state diff @preset @bank --bank A", 1, "@preset: has no bank A"},
      {"state diff @preset @bank --bank I", 2, "--bank"},
      {"state", 2, "subcommand is required"},
      {"band save @preset 0 @new", 2, "no band, 1 to 8"},
      {"band save @preset 1", 2, "needs FILE, N and OUT"},
      {"band save --default @preset 1 @new", 2, "needs OUT alone"},
      {"band save @band.cvb 1 @new", 1, "holds a single band"},
      {"band save @preset 1 @preset", 2, "would overwrite"},
      {"band load @preset 9 @band.cvb @new", 2, "range"},
      {"band load @preset 1 @bank @new", 1, "is no band file"},
      {"band load @preset 1 @band.cvb @preset", 2, "would overwrite"},
      {"band load @preset 1 @band.cvb @band.cvb", 2, "would overwrite"},
  };
  const std::string preset = readBytes(file("preset"));
  fs::copy_file(file("preset"), file("p.wav"));
  fs::copy_file(file("band.cvb"), file("b.wav"));
  const std::vector<std::string> before = directory.names();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const ProgramRun result = run(c.arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(lineCount(result.err), 1) << result.err;
    EXPECT_NE(result.err.find(c.reason), std::string::npos) << result.err;
    EXPECT_EQ(directory.names(), before);
  }
  EXPECT_EQ(readBytes(file("preset")), preset);
}

TEST_F(StateFiles, checkTellsWhatAFileHolds) {
  const std::string preset = run("state check @preset").out;
  for (const char* line : {"kind              preset form: one program\n",
                           "stored            packed, ", "version mark      v101\n",
                           "program 1         'Sound', 8 parameters differ from their defaults\n",
                           "editor settings   yes\n", "findings          none\n"}) {
    EXPECT_NE(preset.find(line), std::string::npos) << line << preset;
  }
  writeBytes(file("odd.json"),
             R"({"presets": [{"parameters": {"kIpTrim": 0.75, "kb1Ratio": 0.5, "kOpTrim": 1.5,
                 "kWetDry": "wet", "kB1Gain": 1e999}}],
                 "ab": [{"parameters": "default"}, {"parameters": {"kb1Ratio": 1, "kB1Q": 1}}]})");
  const ProgramRun odd = run("state check @odd.json");
  EXPECT_EQ(odd.status, 0);
  for (const char* line :
       {"full form: program and banks\n", "version mark      none: kLogBehaviour is on",
        "program 1         3 parameters differ", "bank A            0 parameters differ",
        "bank B            1 parameter differs from its default\n",
        "bank C            missing: stays as it is", "editor settings   none\n",
        "program 1, bank B: unknown parameter 'kb1Ratio'; the nearest are kB1Ratio, ",
        "program 1: kOpTrim: 1.5 is out of range (0 to 1)\n",
        "program 1: kWetDry is no number and counts as 0\n",
        "program 1: kB1Gain is beyond all bounds and is passed over\n"}) {
    EXPECT_NE(odd.out.find(line), std::string::npos) << line << odd.out;
  }
  const ProgramRun warned = run("render @in.wav @out.wav --quiet --state @odd.json");
  EXPECT_EQ(warned.status, 0);
  EXPECT_EQ(lineCount(warned.err), 4) << warned.err;
  EXPECT_NE(warned.err.find("@odd.json: program 1, bank B: unknown parameter 'kb1Ratio'"),
            std::string::npos);

  EXPECT_NE(run("state check @band.cvb").out.find("settings          45 of 45, 2 differ from"),
            std::string::npos);
  writeBytes(file("few.cvb"), R"({"params": {"kB1Ratio": -0.5, "kB1State": 1, "kB1Knee": 150}})");
  const std::string few = run("state check @few.cvb").out;
  for (const char* line :
       {"settings          2 of 45, 2 differ", "band: kB1State has no place in a band file\n",
        "band: kB1Knee: 150 is out of range (0 to 100)\n"}) {
    EXPECT_NE(few.find(line), std::string::npos) << line << few;
  }
}

TEST_F(StateFiles, diffPrintsPlainValues) {
  EXPECT_EQ(run("state diff @preset @plain.json").out, "0 parameters differ\n");
  EXPECT_EQ(run("state diff @preset @bank").out,
            "kB1Threshold: -30 -12 dB\nkB5Knee: 0 40 %\n2 parameters differ\n");
  EXPECT_EQ(run("state diff @bank @bank --bank C").out, "0 parameters differ\n");
  writeBytes(file("few.cvb"), R"({"params": {"kB1Threshold": -12, "kB1Ratio": 0.5}})");
  EXPECT_NE(
      run("state diff @band.cvb @few.cvb").out.find("kB1Ratio: 0.75 0.5\nkB1Ceiling: 24 - dB\n"),
      std::string::npos);
}

TEST_F(StateFiles, bandsMoveFromFileToFile) {
  EXPECT_EQ(run("band save @bank 1 @saved.cvb").err, "");
  EXPECT_EQ(readBytes(file("saved.cvb")), readBytes(file("band.cvb")));
  for (const char* name : {"preset", "bank", "plain.json"}) {
    SCOPED_TRACE(name);
    const std::string from = std::string("@") + name;
    EXPECT_EQ(run("band load " + from + " 2 @saved.cvb @new").err, "");
    EXPECT_EQ(isPackedChunk(readBytes(file("new"))), name != std::string("plain.json"));
    // Type, place and what runs stay.
    EXPECT_EQ(run("state diff " + from + " @new").out,
              "kB2Threshold: -24 -12 dB\nkB2Ratio: -0.5 0.75\n2 parameters differ\n");
    EXPECT_EQ(run("band save @new 2 @again.cvb").status, 0);
    EXPECT_EQ(run("state diff @again.cvb @saved.cvb").out, "0 parameters differ\n");
  }
  EXPECT_EQ(run("band load @bank 2 @saved.cvb @new").status, 0);
  EXPECT_EQ(run("state diff @bank @new --bank A").out, "0 parameters differ\n");
  EXPECT_NE(run("state diff @bank @new --bank C").out, "0 parameters differ\n");
  const auto flags = [this](const char* name) {
    const std::string text = run(std::string("state show @") + name).out;
    return text.substr(text.find("parameterLocks"),
                       text.find("uiprefs") - text.find("parameterLocks"));
  };
  EXPECT_EQ(flags("new"), flags("bank"));

  EXPECT_EQ(run("band save --default @plain.cvb").err, "");
  EXPECT_NE(run("state check @plain.cvb").out.find("45 of 45, 0 differ"), std::string::npos);
}

TEST_F(StateFiles, presetsAreListedAndFoundByName) {
  // A copy finds its factory content beside it, whatever the build folder holds.
  const std::string program = file("bin/corvanthelis");
  fs::create_directory(file("bin"));
  fs::copy_file(CORVANTHELIS_PROGRAM, program);
  const std::string user = "home/Halvekro/Corvanthelis/Presets/";
  const std::string factory = "share/Halvekro/Corvanthelis/Presets/";
  for (const char* name : {"10 Loud", "2 Warm", "a.b", "Drums/Kick"}) writePreset(user + name);
  for (const char* name : {"Drums/Kick", "Drums/Snare"}) writePreset(factory + name);
  writeBytes(file(user + "notes.txt"), "no preset");
  EXPECT_EQ(run("presets list", program).out,
            "User/\n  a.b\n  2 Warm\n  10 Loud\n  Drums/\n    Kick\n"
            "Factory/\n  Drums/\n    Kick\n    Snare\n");
  const JsonTree list(jsonParse(run("presets list --json", program).out.c_str()));
  const JsonNode* const folder = jsonGetArrayItem(jsonGetObjectItem(list.get(), "User"), 3);
  EXPECT_EQ(jsonGetArraySize(jsonGetObjectItem(folder, "entries")), 1);
  EXPECT_EQ(run("presets path", program).out,
            "user: @" + user + "\nbands: @home/Halvekro/Corvanthelis/BandPresets/\nfactory: @" +
                factory + "\nstore: @home/Halvekro/Corvanthelis/settings.json\n");
  EXPECT_FALSE(fs::exists(file("home/Halvekro/Corvanthelis/settings.json")));

  const std::string wanted = run("latency --preset @preset").out;
  for (const char* name : {"'2 Warm'", "Snare", "Drums/Snare", "User/Drums/Kick",
                           "Factory/Drums/Kick.CorvanthelisPreset", "a.b"}) {
    EXPECT_EQ(run(std::string("latency --preset ") + name, program).out, wanted) << name;
  }
  for (const char* name : {"Kick", "Drums/Kick"}) {
    const ProgramRun result = run(std::string("latency --preset ") + name, program);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("User/Drums/Kick or Factory/Drums/Kick"), std::string::npos);
  }
  EXPECT_EQ(run("latency --preset ick", program).status, 1);
}

TEST_F(StateFiles, aRenderKnowsNoSettingsOfTheUser) {
  const std::size_t plain = rendered("");
  const std::string folder = file("home/Halvekro/Corvanthelis");
  fs::create_directories(folder);
  fs::copy_file(file("bank"), folder + "/Default Bank.CorvanthelisBank");
  fs::copy_file(file("band.cvb"), folder + "/Default Band.cvb");
  EXPECT_EQ(rendered(""), plain);
  EXPECT_FALSE(fs::exists(folder + "/settings.json"));
}

}  // namespace
