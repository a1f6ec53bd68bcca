// The documents of the whole effect, and what MIDI does to it.

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

using E = EditorState;

constexpr std::array<SharedNumber<int> E::*, 9> kNumbers = {
    &E::lastAB,    &E::lastListen,   &E::linkPage,  &E::zoomState, &E::bandGraph,
    &E::meterZoom, &E::meterChannel, &E::meterShow, &E::lastPreset};

std::string textOf(Plug& plug, bool isPreset = false) {
  void* data = nullptr;
  plug.setCompressionLevel(0);
  plug.getChunk(&data, isPreset);
  plug.setCompressionLevel(9);
  return static_cast<const char*>(data);
}

void load(Plug& plug, const std::string& text, bool isPreset = false) {
  plug.setChunk(text.c_str(), static_cast<std::int32_t>(text.size() + 1), isPreset);
}

TEST(PlugDocument, AFreshInstanceStoresItsNamesAndTheEditorAlone) {
  PlugRig rig;
  const std::string text = textOf(rig.plug);
  // One program and eight banks of defaults, and all that the editor has but for its options.
  EXPECT_EQ(hashOf(text.substr(0, text.find("\t\"uiprefs\""))), 4287067796U) << text;
  EXPECT_EQ(text.substr(text.size() - 18), "},\n\t\"v101\":\ttrue\n}") << text;
  rig.plug.setLoadingFlags(-2);
  EXPECT_EQ(textOf(rig.plug, true),
            "{\n\t\"parameters\":\t\"default\",\n\t\"name\":\t\"None\",\n\t\"v101\":\ttrue\n}");
  EXPECT_EQ(rig.machine.store().read("loadingFlags"), "-2");
}

/// Everything that a document carries, somewhere else.
void changeAll(Plug& plug, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> anywhere(0.0F, 1.0F);
  plug.setLockWords(Plug::FlagWords{});
  plug.setLinkWords(Plug::FlagWords{});
  for (int bank = 0; bank < Plug::kNumBanks; ++bank) {
    const Plug::UpdateHold hold(plug);
    for (int id = 0; id < kABBank; ++id) plug.setParameter(id, anywhere(random));
    plug.copyToBank(bank);
  }
  EditorState& editor = plug.editorState();
  const auto number = [&random] { return static_cast<int>(random() % 9); };
  for (const auto field : kNumbers) editor.*field = number();
  editor.uimode = editor.wantedUimode = number() % 3;
  editor.freeWidth = 500 + static_cast<int>(random() % 2000);
  editor.currentBand = number() % 8;
  editor.meterRange = anywhere(random);
  editor.lastPresetFolder = "/pre sets/\"x\"\\" + std::to_string(number()) + "/";
  plug.uiSettings().setUiValue("Graph", "Range", number() % 6);
  plug.uiSettings().setUiValue("Analyser", "Tilt", 3);
  plug.setProgramName("Mix 7");
  plug.switchBank(number() % 8);
  for (int i = 0; i < 60; ++i) {
    plug.setLocked(static_cast<int>(random() % kNumParams), true);
    plug.setLinked(static_cast<int>(random() % kNumParams), true);
  }
}

TEST(PlugDocument, WhatIsStoredComesBack) {
  PlugRig from;
  PlugRig to;
  for (unsigned seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE(seed);
    changeAll(from.plug, seed);
    const std::string first = textOf(from.plug);
    load(to.plug, first);
    EXPECT_EQ(to.plug.getLockWords(), from.plug.getLockWords());
    EXPECT_EQ(to.plug.getLinkWords(), from.plug.getLinkWords());
    EXPECT_EQ(to.plug.getCurrentBank(), from.plug.getCurrentBank());
    EXPECT_TRUE(to.plug.editorState().layoutWanted && to.plug.editorState().flagsStale);
    EditorState& editor = to.plug.editorState();
    for (const auto field : kNumbers) EXPECT_EQ(editor.*field, from.plug.editorState().*field);
    EXPECT_EQ(editor.lastPresetFolder, from.plug.editorState().lastPresetFolder);
    EXPECT_EQ(editor.meterRange, from.plug.editorState().meterRange);
    for (int id = 0; id < kABBank; ++id) {
      ASSERT_NEAR(to.plug.getParameter(id), from.plug.getParameter(id), 1e-6) << id;
    }
    // Switching to the stored bank moved values to where their curves put them; from then on every
    // byte stays.
    const std::string second = textOf(to.plug);
    load(from.plug, second);
    load(to.plug, textOf(from.plug));
    ASSERT_EQ(textOf(to.plug), textOf(from.plug));
    const auto settings = [](const std::string& text) {
      return text.substr(text.find("\"settings\""));
    };
    EXPECT_EQ(settings(second), settings(first));
    const std::string preset = textOf(from.plug, true);
    to.plug.setParameter(kIpTrim, 0.0F);
    load(to.plug, preset, true);
    ASSERT_EQ(textOf(to.plug, true), preset) << "no bank is switched to: to the last place";
  }
}

TEST(PlugDocument, NumbersBeyondBoundsLeaveOneThatLoadsAgain) {
  PlugRig from;
  load(from.plug,
       R"({"parameters":{"kIpTrim":1e999,"kOpTrim":-1e999},"settings":{"freeWidth":2147483647,)"
       R"("meterRange":1e999},"uiprefs":{"Graph":{"Range":{"value":1e999},)"
       R"("GR Decay":{"value":0e999},"Gradient":{"value":0}}}})");
  load(from.plug, R"({"settings":{"uimode":1}})");
  EXPECT_EQ(from.plug.editorState().freeWidth, EditorState::kPanelWidth);
  from.set(kIpTrim, 3.0);
  PlugRig to;
  load(to.plug, textOf(from.plug));
  EXPECT_FALSE(to.plug.chunkRefused());
  EXPECT_NEAR(to.get("kIpTrim"), 3.0, 1e-5);
  const auto option = [&to](const char* name) {
    return to.plug.uiSettings().getUiValue("Graph", name);
  };
  EXPECT_EQ((std::array{option("Range"), option("GR Decay"), option("Gradient")}),
            (std::array{4.0, 100.0, 0.0}));
}

TEST(PlugDocument, AutoGainMeasuresAfreshAfterALoad) {
  for (const char* const more : {"", ",\"kListen\":1", ",\"kSCListen\":0.5", ",\"kB1Solo\":1"}) {
    PlugRig rig;
    load(rig.plug, std::string(R"({"v101":true,"parameters":{"kAutoGain":1)") + more + "}}", true);
    EXPECT_EQ(rig.plug.getEngine().measuring(), *more == '\0') << more;
  }
}

TEST(PlugDocument, AFullLoadTellsTheHostWhatChangedAndKeepsWhatWasHeard) {
  PlugRig from;
  from.set({{"kB1Threshold", -12}, {"kB1Knee", 40}, {"kOpTrim", 2}});
  from.plug.copyToBank(4);
  from.set({{"kB1Threshold", -30}, {"kB1Ratio", 0.5}});
  from.plug.setLocked(kB1Threshold, true);
  from.set(kABBank, 4);
  EXPECT_NEAR(from.get("kB1Threshold"), -30.0, 1e-4);
  const std::string text = textOf(from.plug);
  PlugRig to;
  to.set({{"kB1Knee", 40}, {"kIpTrim", 3}});
  const std::vector<float> before = normalisedValues(to.plug);
  for (const bool isSecond : {false, true}) {
    to.messages.clear();
    load(to.plug, text);
    EXPECT_EQ(to.count(kHostVendorSpecific, kProgramChanged), 1);
    EXPECT_EQ(to.get("kABBank"), 4.0);
    EXPECT_EQ(to.plug.getCurrentBank(), 4);
    EXPECT_NEAR(to.get("kB1Threshold"), -30.0, 1e-4) << "as it was heard, not as the bank has it";
    for (int id = 0; id < kNumParams; ++id) {
      const bool changed =
          !isSecond && to.plug.getParameter(id) != before.at(static_cast<std::size_t>(id));
      EXPECT_EQ(to.count(kHostAutomate, id), changed ? 1 : 0) << id;
      EXPECT_EQ(to.count(kHostBeginEdit, id), to.count(kHostEndEdit, id)) << id;
    }
  }
}

TEST(PlugDocument, WhatTheEditorShowsBelongsToIt) {
  PlugRig rig;
  std::string before = textOf(rig.plug);
  const auto expectOther = [&] { EXPECT_TRUE(std::exchange(before, textOf(rig.plug)) != before); };
  std::vector<SharedNumber<int> E::*> fields(kNumbers.begin(), kNumbers.end());
  fields.insert(fields.end(), {&E::uimode, &E::freeWidth, &E::currentBand});
  for (const auto field : fields) {
    rig.plug.editorState().*field = 2;
    expectOther();
  }
  rig.plug.editorState().meterRange = 12.5F;
  expectOther();
  rig.plug.editorState().lastPresetFolder = "/p/";
  expectOther();
  rig.plug.uiSettings().setUiValue("Graph", "Range", 2);
  expectOther();
}

TEST(PlugMidi, ALearntControllerMovesItsParameterAtOnceAndIsStoredByTheIdleCall) {
  PlugRig rig;
  MIDIMap& map = rig.machine.midiMap();
  map.setLearnTarget(kB1Threshold);
  sendController(rig.plug, 0x90, 7, 64);
  sendController(rig.plug, 0xB5, 7, 64);
  EXPECT_EQ(rig.plug.getParameter(kB1Threshold), static_cast<float>(64 / 127.0));
  EXPECT_FALSE(rig.machine.store().read("MIDIMap")) << "not by the audio thread";
  rig.plug.onIdle();
  EXPECT_EQ(rig.machine.store().read("MIDIMap")->substr(0, 25), "[-1,-1,-1,-1,-1,-1,-1,7,-");
  rig.plug.setLocked(kB1Threshold, true);
  sendController(rig.plug, 0xB0, 7, 0);
  EXPECT_GT(rig.plug.getParameter(kB1Threshold), 0.5F);
  rig.set(kIpTrim, 6.0);
  rig.plug.copyToBank(3);
  rig.set(kIpTrim, -6.0);
  map.learn(kABBank, 20);
  sendController(rig.plug, 0xB0, 20, 48);
  EXPECT_EQ(rig.plug.getCurrentBank(), 3);
  EXPECT_NEAR(rig.get("kIpTrim"), 6.0, 1e-5);
  EXPECT_FALSE(rig.plug.canUndo()) << "a controller is no edit";
}

}  // namespace
