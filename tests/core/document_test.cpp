// The documents of the whole effect, and what locks, links and MIDI do to it.

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <string>

#include "tests/core/plug_rig.h"

namespace {

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

constexpr const char* kEditorBlock =
    "\t\"settings\":\t{\n\t\t\"uimode\":\t0,\n\t\t\"currentAB\":\t0,\n\t\t\"lastAB\":\t0,\n"
    "\t\t\"lastListen\":\t0,\n\t\t\"linkPage\":\t0,\n\t\t\"zoomState\":\t0,\n"
    "\t\t\"freeWidth\":\t844,\n\t\t\"currentBand\":\t0,\n\t\t\"bandGraph\":\t0,\n"
    "\t\t\"meterChannel\":\t0,\n\t\t\"meterShow\":\t0,\n\t\t\"meterZoom\":\t0,\n"
    "\t\t\"meterRange\":\t24,\n\t\t\"lastPreset\":\t0,\n\t\t\"lastPresetFolder\":\t\"\",\n"
    "\t\t\"parameterLocks\":\t[0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0],\n"
    "\t\t\"parameterLinks\":\t[0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]\n\t},\n"
    "\t\"uiprefs\":\t{\n\t\t\"Graph\":\t{\n\t\t\t\"Range\":\t{\n\t\t\t\t\"value\":\t4,\n"
    "\t\t\t\t\"values\":\t[\"3dB\", \"6dB\", \"12dB\", \"18dB\", \"24dB\", \"36dB\"]\n\t\t\t},\n";

TEST(PlugDocumentTest, AFreshInstanceStoresItsNamesAndTheEditorAlone) {
  PlugRig rig;
  std::string expected =
      "{\n\t\"presets\":\t[{\n\t\t\t\"parameters\":\t\"default\",\n\t\t\t\"name\":\t\"None\"\n"
      "\t\t}],\n\t\"ab\":\t[";
  for (int i = 0; i < 8; ++i) {
    expected += (i > 0 ? ", {" : "{") + std::string("\n\t\t\t\"parameters\":\t\"default\"\n\t\t}");
  }
  expected += std::string("],\n") + kEditorBlock;
  const std::string text = textOf(rig.plug);
  EXPECT_EQ(text.substr(0, expected.size()), expected);
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
  for (int bank = 0; bank < Plug::kNumBanks; ++bank) {
    const Plug::UpdateHold hold(plug);
    for (int id = 0; id < kABBank; ++id) plug.setParameter(id, anywhere(random));
    plug.copyToBank(bank);
  }
  EditorState& editor = plug.editorState();
  const auto number = [&random] { return static_cast<int>(random() % 9); };
  for (SharedNumber<int>* const field :
       {&editor.lastAB, &editor.lastListen, &editor.linkPage, &editor.zoomState, &editor.bandGraph,
        &editor.meterChannel, &editor.meterShow, &editor.meterZoom, &editor.lastPreset}) {
    *field = number();
  }
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

TEST(PlugDocumentTest, WhatIsStoredComesBack) {
  PlugRig from;
  PlugRig to;
  for (unsigned seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    from.plug.setLockWords(Plug::FlagWords{});
    from.plug.setLinkWords(Plug::FlagWords{});
    changeAll(from.plug, seed);
    const std::string first = textOf(from.plug);
    load(to.plug, first);
    EXPECT_EQ(to.plug.getLockWords(), from.plug.getLockWords());
    EXPECT_EQ(to.plug.getLinkWords(), from.plug.getLinkWords());
    for (int id = 0; id < kABBank; ++id) {
      ASSERT_NEAR(to.plug.getParameter(id), from.plug.getParameter(id), 1e-6) << id;
    }
    // Switching to the stored bank moved values to where their curves put them; from then on every
    // byte stays.
    const std::string second = textOf(to.plug);
    load(from.plug, second);
    load(to.plug, textOf(from.plug));
    ASSERT_EQ(textOf(to.plug), textOf(from.plug));
    const auto behindBanks = [](const std::string& text) {
      return text.substr(text.find("\"settings\""));
    };
    EXPECT_EQ(behindBanks(second), behindBanks(first));
    const std::string preset = textOf(from.plug, true);
    to.plug.setParameter(kIpTrim, 0.0F);
    load(to.plug, preset, true);
    ASSERT_EQ(textOf(to.plug, true), preset) << "no bank is switched to: to the last place";
  }
}

TEST(PlugDocumentTest, TheEditorTakesItsPartOfADocument) {
  const struct {
    const char* settings;
    bool isPreset, loadingFile;
    int mode, width, band, bank;
    double zoom;
  } cases[] = {
      {R"("uimode":2,"freeWidth":1978,"currentBand":5,"currentAB":3)", false, false, 2, 1978, 5, 3,
       2.0},
      {R"("uimode":0,"freeWidth":422)", false, false, 0, 422, 0, 0, 0.5},
      {R"("uimode":1)", false, false, 1, 989, 0, 0, 1.0},
      {R"("uimode":2,"freeWidth":1978,"currentAB":3)", true, true, 2, 989, 0, 0, 1.0},
      {R"("freeWidth":-5,"currentBand":8,"currentAB":9,"meterRange":1e999)", false, false, 0, 844,
       0, 0, 1.0},
      {R"("currentBand":-1,"freeWidth":"wide","parameterLocks":7)", false, false, 0, 844, 0, 0,
       1.0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.settings);
    PlugRig rig;
    rig.plug.editorState().loadingFile = c.loadingFile;
    const std::string head = c.isPreset ? "{" : R"({"presets":[],)";
    load(rig.plug, head + R"("v101":true,"settings":{)" + c.settings + "}}", c.isPreset);
    const EditorState& editor = rig.plug.editorState();
    EXPECT_EQ(editor.uimode, c.mode);
    EXPECT_EQ(editor.freeWidth, c.width);
    EXPECT_DOUBLE_EQ(editor.zoom, c.zoom);
    EXPECT_EQ(editor.currentBand, c.band);
    EXPECT_EQ(editor.selectedBands, 1U << c.band);
    EXPECT_EQ(rig.plug.getCurrentBank(), c.bank);
    EXPECT_EQ(editor.meterRange, 24.0F);
    EXPECT_EQ(editor.meterShow, 0);
  }
}

TEST(PlugDocumentTest, ABankGivenAsAPresetLoadsItsFirstProgramAlone) {
  PlugRig rig;
  rig.set(kIpTrim, 6.0);
  rig.plug.copyToBank(3);
  load(rig.plug,
       R"({"presets":[{"parameters":{"kIpTrim":0.25}}],"ab":[{},{},{},{}],"v101":true,)"
       R"("settings":{"currentAB":3,"lastAB":2,"linkPage":4}})",
       true);
  EXPECT_EQ(rig.plug.getCurrentBank(), 0);
  EXPECT_EQ(rig.plug.getParameter(kIpTrim), 0.25F);
  EXPECT_EQ(rig.plug.editorState().lastAB, 0);
  EXPECT_EQ(rig.plug.editorState().linkPage, 4) << "the rest of the editor's part is taken";
  rig.plug.switchBank(3);
  EXPECT_NEAR(rig.get("kIpTrim"), 6.0, 1e-5);
}

TEST(PlugDocumentTest, NumbersBeyondBoundsLeaveADocumentThatLoadsAgain) {
  PlugRig from;
  load(from.plug,
       R"({"parameters":{"kIpTrim":1e999,"kOpTrim":-1e999},"settings":{"freeWidth":2147483647,)"
       R"("meterRange":1e999},"uiprefs":{"Graph":{"Range":{"value":1e999},)"
       R"("GR Decay":{"value":0e999},"Gradient":{"value":0}}}})");
  load(from.plug, R"({"settings":{"uimode":1}})");
  EXPECT_EQ(from.plug.editorState().freeWidth, EditorState::kPanelWidth);
  from.set(kIpTrim, 3.0);
  const std::string text = textOf(from.plug);
  PlugRig to;
  load(to.plug, text);
  EXPECT_FALSE(to.plug.chunkRefused());
  EXPECT_NEAR(to.get("kIpTrim"), 3.0, 1e-5);
  EXPECT_EQ(to.plug.uiSettings().getUiValue("Graph", "Range"), 4.0);
  EXPECT_EQ(to.plug.uiSettings().getUiValue("Graph", "GR Decay"), 100.0);
  EXPECT_EQ(to.plug.uiSettings().getUiValue("Graph", "Gradient"), 0.0);
}

TEST(PlugDocumentTest, OldDocumentsKeepTheirBehaviourAndFlagsGoWithEveryLoad) {
  PlugRig rig;
  load(rig.plug, R"({"presets":[{}],"ab":[{},{},{},{},{},{},{},{}]})");
  EXPECT_EQ(rig.get("kLogBehaviour"), 1.0);
  rig.plug.switchBank(6);
  EXPECT_EQ(rig.get("kLogBehaviour"), 1.0);
  load(rig.plug, R"({"v101":true})");
  EXPECT_EQ(rig.get("kLogBehaviour"), 0.0);
  load(rig.plug, "{}", true);
  EXPECT_EQ(rig.get("kLogBehaviour"), 1.0);
  const std::array<std::int32_t, 2> words = {-1, 1};
  for (const char* const text : {"no document", "{}"}) {
    rig.plug.setLockWords(words);
    rig.plug.setLinkWords(words);
    load(rig.plug, text, true);
    EXPECT_EQ(rig.plug.getLockWords(), Plug::FlagWords{});
    EXPECT_EQ(rig.plug.getLinkWords(), Plug::FlagWords{});
  }
  rig.plug.setLoadingFlags(0);
  load(rig.plug, R"({"settings":{"uimode":2,"parameterLocks":[1]}})", true);
  EXPECT_EQ(rig.plug.editorState().uimode, 0);
  EXPECT_FALSE(rig.plug.isLocked(0));
  load(rig.plug, R"({"settings":{"uimode":2,"parameterLocks":[5, -2147483648]}})", false);
  EXPECT_EQ(rig.plug.editorState().uimode, 2) << "the full form always";
  std::string locked;
  for (int id = -1; id <= kNumParams; ++id) {
    if (rig.plug.isLocked(id)) locked += std::to_string(id) + ' ';
  }
  EXPECT_EQ(locked, "0 2 63 ");
}

TEST(PlugDocumentTest, AutoGainMeasuresAfreshAfterALoad) {
  for (const char* const more : {"", ",\"kListen\":1", ",\"kSCListen\":0.5", ",\"kB1Solo\":1"}) {
    PlugRig rig;
    load(rig.plug, std::string(R"({"v101":true,"parameters":{"kAutoGain":1)") + more + "}}", true);
    EXPECT_EQ(rig.plug.getEngine().measuring(), *more == '\0') << more;
  }
}

TEST(PlugFlagsTest, LocksAndLinksActOnEverySource) {
  PlugRig rig;
  const auto threshold = [](int band) { return bandParameterId(band, kB1Threshold); };
  for (const int band : {0, 1, 2}) rig.plug.setLinked(threshold(band), true);
  rig.plug.setLocked(threshold(1), true);
  rig.plug.setLinked(threshold(7), false);
  rig.plug.setParameter(threshold(0), 0.25F);
  const float usual = rig.plug.getParameterDefault(threshold(0));
  const float expected[] = {0.25F, usual, 0.25F, usual, usual, usual, usual, usual};
  for (int band = 0; band < kNumBands; ++band) {
    EXPECT_EQ(rig.plug.getParameter(threshold(band)), expected[band]) << band;
  }
  rig.messages.clear();
  rig.plug.setParameterAutomated(threshold(1), 0.9F);
  rig.plug.setParameterWithEdit(threshold(1), 0.0F);
  EXPECT_EQ(rig.plug.getParameter(threshold(1)), usual);
  EXPECT_EQ(rig.count(kHostAutomate, threshold(1)), 0);
  EXPECT_FALSE(rig.plug.canUndo());
  for (const int band : {0, 1, 2}) rig.plug.setLinked(threshold(band), false);
  rig.plug.copyToBank(4);
  rig.plug.setLocked(threshold(1), false);
  rig.plug.setParameter(threshold(1), 0.1F);
  rig.plug.setLocked(threshold(1), true);
  rig.plug.switchBank(4);
  EXPECT_EQ(rig.plug.getParameter(threshold(1)), 0.1F) << "locked against the bank, too";
  rig.plug.setLocked(threshold(1), false);
  rig.plug.switchBank(0);
  rig.plug.switchBank(4);
  EXPECT_EQ(rig.plug.getParameter(threshold(1)), usual) << "the bank kept its own";
}

TEST(PlugHistoryTest, BandOperationsAndCrossoverDragsAreOneStepEach) {
  PlugRig rig({{"kB1Frequency", 400}});
  std::vector<std::string> states = {textOf(rig.plug, true)};
  const auto layoutAndText = [&rig] { return textOf(rig.plug, true); };
  const auto drag = [&rig](int band, double hertz) {
    const int id = bandParameterId(band, kB1Frequency);
    rig.plug.beginEdit(id);
    for (const double share : {0.25, 0.5, 0.75, 1.0}) {
      const double from = static_cast<double>(rig.plug.getPlainValue(id));
      rig.plug.setParameterAutomated(
          id, rig.plug.plainToNormalised(id, static_cast<float>(from + (hertz - from) * share)));
    }
    rig.plug.endEdit(id);
  };
  const std::function<void()> actions[] = {[&] { rig.plug.addBand(kXoverList, 1000); },
                                           [&] { rig.plug.addBand(kXoverList, 1000); },
                                           [&] { drag(0, 3000); },
                                           [&] { rig.plug.addBand(kPreList, 500); },
                                           [&] { drag(3, 700); },
                                           [&] { rig.plug.setBandPosition(3, kXoverList); },
                                           [&] { rig.plug.deleteBand(1); },
                                           [&] { rig.plug.setBandPosition(0, kPostList); }};
  std::vector<BandLayout::List> orders = {rig.plug.getEngine().layout.orderList};
  for (const auto& action : actions) {
    action();
    states.push_back(layoutAndText());
    orders.push_back(rig.plug.getEngine().layout.orderList);
    ASSERT_NE(states.back(), states[states.size() - 2]);
  }
  for (std::size_t i = states.size() - 1; i-- > 0;) {
    rig.plug.undo();
    ASSERT_EQ(layoutAndText(), states[i]) << "undone: action " << i;
    EXPECT_EQ(rig.plug.getEngine().layout.orderList, orders[i]);
  }
  EXPECT_FALSE(rig.plug.canUndo());
  for (std::size_t i = 1; i < states.size(); ++i) {
    rig.plug.redo();
    ASSERT_EQ(layoutAndText(), states[i]) << "done again: action " << i - 1;
    EXPECT_EQ(rig.plug.getEngine().layout.orderList, orders[i]);
  }
  EXPECT_FALSE(rig.plug.canRedo());
}

TEST(PlugHistoryTest, LinkedBandsComeBackWithTheOneThatLostItsSource) {
  PlugRig rig;
  rig.plug.addBand(kXoverList, 3000);
  for (const int band : {0, 2, 5}) {
    rig.set(bandParameterId(band, kB1SCSBand), 1);
    rig.set(bandParameterId(band, kB1SCSrc), 2);
    rig.plug.setLinked(bandParameterId(band, kB1SCSBand), true);
    rig.plug.setLinked(bandParameterId(band, kB1SCSrc), true);
  }
  const std::string before = textOf(rig.plug, true);
  rig.plug.deleteBand(1);
  EXPECT_EQ(rig.get("kB6SCSBand"), -1.0);
  EXPECT_EQ(rig.get("kB6SCSrc"), 1.0);
  rig.plug.undo();
  EXPECT_EQ(textOf(rig.plug, true), before);
}

TEST(PlugHistoryTest, AGestureBegunTwiceLeavesLaterStepsWhole) {
  PlugRig rig;
  rig.plug.addBand(kXoverList, 3000);
  for (const int band : {0, 1}) rig.plug.setLinked(bandParameterId(band, kB1Knee), true);
  for (const int id : {int{kB1Knee}, int{kB1Frequency}}) {
    SCOPED_TRACE(id);
    const std::string start = textOf(rig.plug, true);
    rig.plug.beginEdit(id);
    rig.plug.beginEdit(id);
    rig.plug.endEdit(id);
    rig.plug.setParameterAutomated(id, 0.75F);
    rig.plug.endEdit(id);
    const std::string before = textOf(rig.plug, true);
    ASSERT_NE(before, start);
    rig.set(kB1Gain, 6.0);
    rig.set(kB1Ratio, 0.5);
    rig.plug.resetBand(0);
    rig.plug.undo();
    EXPECT_EQ(rig.get("kB1Gain"), 6.0);
    EXPECT_EQ(rig.get("kB1Ratio"), 0.5) << "both with one step";
    rig.set(kB1Gain, 0.0);
    rig.set(kB1Ratio, 0.0);
    EXPECT_EQ(textOf(rig.plug, true), before);
    rig.plug.undo();
    EXPECT_EQ(textOf(rig.plug, true), start);
  }
}

TEST(PlugMidiTest, ALearntControllerMovesItsParameterAtOnceAndIsStoredByTheIdleCall) {
  PlugRig rig;
  MIDIMap& map = rig.machine.midiMap();
  const auto send = [&rig](int status, int controller, int value) {
    VstMidiEvent event{};
    event.type = kVstMidiType;
    event.byteSize = sizeof event;
    event.midiData[0] = static_cast<std::uint8_t>(status);
    event.midiData[1] = static_cast<std::uint8_t>(controller);
    event.midiData[2] = static_cast<std::uint8_t>(value);
    VstEvents list{};
    list.numEvents = 1;
    list.events[0] = reinterpret_cast<VstEvent*>(&event);
    const RealTimeCheck check;
    rig.plug.processEvents(&list);
  };
  map.setLearnTarget(kB1Threshold);
  send(0x90, 7, 64);
  send(0xB5, 7, 64);
  EXPECT_EQ(rig.plug.getParameter(kB1Threshold), static_cast<float>(64 / 127.0));
  EXPECT_FALSE(rig.machine.store().read("MIDIMap")) << "not by the audio thread";
  rig.plug.onIdle();
  EXPECT_EQ(rig.machine.store().read("MIDIMap")->substr(0, 25), "[-1,-1,-1,-1,-1,-1,-1,7,-");
  rig.plug.setLocked(kB1Threshold, true);
  send(0xB0, 7, 0);
  EXPECT_GT(rig.plug.getParameter(kB1Threshold), 0.5F);
  rig.set(kIpTrim, 6.0);
  rig.plug.copyToBank(3);
  rig.set(kIpTrim, -6.0);
  map.learn(kABBank, 20);
  send(0xB0, 20, 48);
  EXPECT_EQ(rig.plug.getCurrentBank(), 3);
  EXPECT_NEAR(rig.get("kIpTrim"), 6.0, 1e-5);
  EXPECT_FALSE(rig.plug.canUndo()) << "a controller is no edit";
}

}  // namespace
