// What the built program does, tells and leaves: data/*.txt say it line by line. Last, parts of it
// that no command line brings to all their ends.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "apps/audio_files/audio_format.h"
#include "apps/audio_files/audio_reader.h"
#include "apps/audio_files/audio_writer.h"
#include "apps/effect/effect_runner.h"
#include "apps/output/failure.h"
#include "apps/output/progress_bar.h"
#include "apps/output/text.h"
#include "apps/presets/preset_source.h"
#include "state/chunk_codec.h"
#include "state/json_document.h"
#include "tests/apps/program.h"
#include "tests/support/data_rows.h"

namespace {

namespace fs = std::filesystem;

using Command = ProgramTest;

TEST_F(Command, answersAsItIsAsked) { follow("answers.txt"); }
TEST_F(Command, failsAsItIsTold) { follow("failures.txt"); }
TEST_F(Command, drawsCurves) { follow("curves.txt"); }
TEST_F(Command, rendersAndReports) { follow("renders.txt"); }
TEST_F(Command, readsAndWritesAudioOfEveryKind) { follow("audio_files.txt"); }

/// Stored states, presets, banks and band files.
class StateFiles : public ProgramTest {
 protected:
  void SetUp() override {
    // A copy finds its factory content beside it, whatever the build folder holds.
    program = file("bin/corvanthelis");
    fs::create_directory(file("bin"));
    fs::copy_file(CORVANTHELIS_PROGRAM, program);
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
    plug.setLocked(bandParameterId(1, kB1Threshold), true);
    plug.setLinked(kB1Threshold, true);
    plug.setLinked(bandParameterId(1, kB1Threshold), true);
    store("bank", plug, false, 9);
    std::string band;
    plug.saveBand(band, 0);
    writeBytes(file("band.cvb"), band + '\0');
    follow("stored.txt");
  }

  static void set(Plug& plug, const std::vector<std::string>& texts) {
    std::vector<std::string> warnings;
    for (const std::string& text : texts) {
      applySettings(plug, std::array{parseSetting(text, false, plug, warnings)});
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
  writeBytes(file("flipped"), flipped);
  const std::string large(2 * kMostDocumentBytes, 'x');
  writeBytes(file("bomb"), *packChunk("{\"v101\":true,\"x\":\"" + large + "\"}", 9));
  follow("state_failures.txt");
}

/// What the source of a "preset", a "band", or a bank whose last entry is told, makes of a new
/// effect: the chain, then all that is another value. Or the complaint about it.
std::string outcome(const std::string& kind, const std::string& text) {
  const TestDirectory directory;
  const std::string path = directory.path("01 Test.json");
  if (!text.empty()) writeBytes(path, text);
  HostedPlug plug(false);
  HostedPlug untouched(false);
  try {
    const PresetSource source = kind == "preset" ? readPresetSource(path)
                                : kind == "band" ? readBandSource(path)
                                                 : readBankSource(path).back();
    applyPreset(plug, source);
    std::ostringstream told;
    told << source.name << ": " << source.description;
    BandLayout& layout = plug.getEngine().layout;
    for (const BandLayout::List* const list : {&layout.pre, &layout.xover, &layout.post}) {
      told << ' ' << testing::PrintToString(layout.copyOf(*list));
    }
    for (std::int32_t id = 0; id < kNumParams; ++id) {
      if (plug.getParameter(id) == untouched.getParameter(id)) continue;
      told << ' ' << parameterIdentifier(id) << '=' << plug.getPlainValue(id);
    }
    return told.str();
  } catch (const Failure& failure) {
    const std::string message = failure.what();
    EXPECT_TRUE(message.starts_with(path + ": ")) << message;
    return message.substr(path.size() + 2);
  }
}

TEST(PresetSources, giveTheEffectTheirValuesAndTheirChainOrAreRefusedWithTheReason) {
  std::string first;
  for (int i = 0; i < 7; ++i) first += R"({"name": "N", "description": "D"}, )";
  runRows(TEST_DATA "/preset_sources.txt", [&first](const DataRow& row) {
    return outcome(row[0], row[0] == "eighth" ? "[" + first + row[1] + "]" : row[1]);
  });
}

TEST(Progress, theLineFitsAndTellsTheTimeLeft) {
  EXPECT_EQ(progressLine(25, 100, 10000, 40), "[===          ]  25 %  0:30 left");
  EXPECT_EQ(progressLine(100, 100, 10000, 40), "[=============] 100 %  0:00 left");
  EXPECT_EQ(progressLine(300, 100, 10000, 40), "[=============] 100 %  0:00 left");
  EXPECT_EQ(progressLine(300, 0, 61000, 40), "[             ] 1:01");
  for (const int columns : {0, 1, 10, 31, 32, 80, 500}) {
    for (const std::int64_t done : {0, 1, 50, 100}) {
      const std::string line = progressLine(done, 100, 360000000, columns);
      EXPECT_LE(static_cast<int>(line.size()), std::max(columns - 1, 0)) << line;
    }
  }
}

TEST(Text, numbersReadTheSameEverywhere) {
  EXPECT_EQ(fixedText(-0.04, 1), "0.0");
  EXPECT_EQ(fixedText(-12.25, 1), "-12.2");
  EXPECT_EQ(signedText(0.04, 1), "0.0");
  EXPECT_EQ(signedText(3.0, 2), "+3.00");
  EXPECT_EQ(shortestText(0.71F), "0.71");
  EXPECT_EQ(durationText(0.0), "0:00.000");
  EXPECT_EQ(durationText(59.9996), "1:00.000");
  EXPECT_EQ(durationText(3723.25), "1:02:03.250");
  EXPECT_EQ(padded("\xC3\xA4", 3), "\xC3\xA4  ");
  EXPECT_EQ(oneLine("a\nb"), "a?b");
}

TEST(AudioTags, areCarriedOverWhereTheContainerHoldsThemAndNamedWhereNot) {
  const TestDirectory directory;
  AudioTags tags;
  tags.texts = {{SF_STR_TITLE, "Title"}, {SF_STR_ALBUM, "fact"}};
  tags.broadcast.emplace();
  std::strncpy(tags.broadcast->description, "Take 3", sizeof tags.broadcast->description);
  tags.broadcast->version = 2;
  tags.broadcast->loudness_value = -2300;
  tags.broadcast->time_reference_high = 1;
  tags.broadcast->time_reference_low = 5;
  tags.beginEarlier(7);  // across the carry
  const struct {
    const char *ending, *lost;
  } rows[] = {{"wav", ""},
              {"rf64", ""},
              {"flac", "BWF description, timecode, "},
              {"aiff", "album, BWF description, timecode, "},
              {"w64", "title, album, BWF description, timecode, "}};
  for (const auto& [ending, lost] : rows) {
    SCOPED_TRACE(ending);
    const std::string path = directory.path(std::string("tagged.") + ending);
    AudioWriter writer(path, audioFormatFor(path, {}), 48000, 1, 1, tags);
    writer.write(std::array{0.5}.data(), 1);
    writer.commit();
    std::string named;
    for (const std::string& name : writer.lost()) named += name + ", ";
    EXPECT_EQ(named, lost);
    const AudioTags read = AudioReader(path).tags();
    EXPECT_EQ(read.texts.size(), named.starts_with("title") ? 0U
                                 : named.starts_with("a")   ? 1U
                                                            : 2U);
    EXPECT_TRUE(read.texts.empty() || read.texts.front() == tags.texts.front());
    if (!named.empty()) continue;
    ASSERT_TRUE(read.broadcast);
    EXPECT_STREQ(read.broadcast->description, "Take 3");
    EXPECT_EQ(read.broadcast->time_reference_high, 0U);
    EXPECT_EQ(read.broadcast->time_reference_low, 0xFFFFFFFEU);
    EXPECT_EQ(read.broadcast->loudness_value, 0x7FFF) << "of other samples";
  }
}

// What is longer than a container can tell is refused before a byte of it is written.
TEST(AudioWriter, refusesWhatItsContainerCannotHold) {
  const TestDirectory directory;
  const std::int64_t sixGiB = (std::int64_t{6} << 30) / 8;
  std::string refused;
  for (const std::string ending : {"wav", "w64", "rf64", "aiff", "flac", "caf", "au"}) {
    const std::string path = directory.path("large." + ending);
    try {
      const AudioWriter writer(path, audioFormatFor(path, {}), 48000, 2, sixGiB);
    } catch (const Failure&) {
      refused += ending + ' ';
    }
  }
  EXPECT_EQ(refused, "wav aiff au ");
  EXPECT_EQ(directory.names().size(), 0U);
}

}  // namespace
