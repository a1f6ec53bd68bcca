// The AAX library as its host loads it: what it alone has.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

#include "apps/aax_host/aax_session.h"
#include "apps/aax_host/parameter_facts.h"
#include "tests/hosted/reference.h"
#include "tests/support/becomes.h"
#include "tests/support/test_directory.h"

namespace {

constexpr AAX_CTypeID kEffectChunk = AAX_TypeID("CvnP");
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The exit status of the host's program and what it writes.
std::pair<int, std::string> runHost(const std::string& arguments) {
  FILE* const program = popen((CORVANTHELIS_AAX_HOST " " + arguments + " 2>&1").c_str(), "r");
  std::string text;
  for (int c = std::fgetc(program); c != EOF; c = std::fgetc(program)) text += static_cast<char>(c);
  return {WEXITSTATUS(pclose(program)), text};
}

TEST(AaxHostProgram, PrintsTheDescriptionOrSaysWhatIsWrong) {
  const std::string head =
      "# What aax-host prints of the plug-in; made anew with CORVANTHELIS_RECORD=1.\n";
  const auto [status, text] = runHost(CORVANTHELIS_AAX);
  EXPECT_EQ(status, 0);
  if (std::getenv("CORVANTHELIS_RECORD") != nullptr) {
    writeBytes(TEST_DATA "/description.txt", head + text);
  }
  EXPECT_EQ(head + text, readBytes(TEST_DATA "/description.txt"));
  const TestDirectory folder;
  writeBytes(folder.path("text.so"), "no library");
  const std::string none = folder.path("none.so");
  EXPECT_EQ(runHost("").first, 2);
  EXPECT_EQ(runHost("a b").first, 2);
  for (const std::string& file : {none, folder.path("text.so"), std::string("libm.so.6")}) {
    const auto [failure, said] = runHost(file);
    EXPECT_EQ(failure, 1) << file;
    EXPECT_NE(said.find(file.substr(0, 4)), std::string::npos) << said;
  }
  EXPECT_EQ(runHost(CORVANTHELIS_AAX " > /dev/full").first, 1);
}

TEST(AaxEntryPoints, AnswerAndLeaveNothing) {
  AaxSession session(CORVANTHELIS_AAX);
  const AaxLibrary& library = session.library;
  IACFUnknown* const unknown = session.host.unknown();
  IACFComponentDefinition* component = nullptr;
  EXPECT_EQ(library.registerComponent(unknown, 0, &component), ACF_OK);
  EXPECT_EQ(component, nullptr);
  std::uint64_t version = 0;
  EXPECT_EQ(library.getSdkVersion(&version), ACF_OK);
  EXPECT_EQ(version, kAcfSdkVersion);
  EXPECT_NE(library.getSdkVersion(nullptr), ACF_OK);
  void* object = nullptr;
  library.getClassFactory(unknown, AAXCompID_AAXCollection, IID_IACFUnknown, &object);
  EXPECT_EQ(object, nullptr);
  IACFPluginDefinition* definition = nullptr;
  EXPECT_EQ(library.registerPlugin(nullptr, &definition), ACF_E_UNEXPECTED);
  EXPECT_EQ(library.canUnloadNow(unknown), ACF_OK);
  {
    HostedInstance instance(session.effect(), 2);
    const HostedInstance other(session.effect(), 1);
    for (const auto& [id, count] : instance.host.registrations) EXPECT_EQ(count, 1);
    instance.close();
    EXPECT_EQ(instance.host.referenceCount(), 0U);
    EXPECT_EQ(library.canUnloadNow(unknown), ACF_FALSE) << "beside an instance";
  }
  EXPECT_EQ(library.canUnloadNow(unknown), ACF_OK);
  EXPECT_EQ(library.shutdown(unknown), ACF_OK);
  EXPECT_EQ(session.host.referenceCount(), 0U);
  EXPECT_EQ(session.collection().referenceCount(), 0U);
}

/// One for all tests from here on.
AaxSession& session() {
  static AaxSession loaded(CORVANTHELIS_AAX);
  return loaded;
}
const RecordedEffect& effect() { return session().effect(); }

/// Every host step, of all parameters at once, and back to the default as it was told; what the
/// effect made of them is read from its state.
TEST(AaxLoaded, HostStepsReachTheirPlainValues) {
  HostedInstance instance(effect(), 2);
  Reference reader;
  std::vector<ParameterFacts> swept;
  for (int i = 0; i < kABBank; ++i) {  // without the selector of banks: it exchanges the others
    if (ParameterFacts(i).stepped) swept.emplace_back(i);
  }
  for (int step = -1; step < 100; ++step) {
    for (const ParameterFacts& facts : swept) {
      const double standard = facts.toldValue(static_cast<double>(facts.record.value));
      const bool isBack = step < 0 || step >= facts.hostSteps;
      instance.update(facts.id, isBack ? standard : facts.normalisedOfStep(step));
    }
    const std::vector<float> plain = reader.valuesOf(instance);
    for (const ParameterFacts& facts : swept) {
      const bool isBack = step < 0 || step >= facts.hostSteps;
      EXPECT_EQ(static_cast<double>(plain[static_cast<std::size_t>(facts.index)]),
                isBack ? static_cast<double>(facts.record.value) : facts.plainOfStep(step))
          << facts.record.name << " at host step " << step;
    }
  }
}

TEST(AaxLoaded, FramesAndTellsWhatTheHostAndItsBanksChange) {
  HostedInstance instance(effect(), 2);
  const std::string id = instance.id(kOpTrim);
  const auto told = [&instance] {
    std::string text;
    for (const AutomationEvent& event : instance.host.takeEvents()) text += event.id + event.kind;
    return text;
  };
  auto changes = [&, before = 0]() mutable {
    std::int32_t count = 0;
    instance.parameters->GetNumberOfChanges(&count);
    return count - std::exchange(before, count);
  };
  changes();
  instance.parameters->TouchParameter(id.c_str());
  instance.parameters->SetParameterNormalizedValue(id.c_str(), 0.75);
  instance.parameters->ReleaseParameter(id.c_str());
  EXPECT_EQ(told(), id + "T" + id + "P" + id + "R");
  EXPECT_EQ(changes(), 1);
  for (const auto& [given, kept] :
       {std::pair{7.0, 1.0}, {-7.0, 0.0}, {kNaN, 0.0}, {0.25, 0.25}, {kNaN, 0.25}}) {
    instance.update(id, given);
    EXPECT_EQ(instance.normalised(id), kept) << given;
    EXPECT_EQ(changes(), std::isnan(given) ? 0 : 1) << given;
  }
  EXPECT_EQ(told(), "") << "the host's own values";
  instance.set(kABBank, 1.0);
  std::string expected;  // all but its selector
  for (int i = 0; i < kABBank; ++i) {
    for (const char kind : {'T', 'P', 'R'}) expected += instance.id(i) + kind;
  }
  EXPECT_EQ(told(), expected);
  // A host may answer what was posted when it likes: whatever comes last holds.
  instance.host.echo = nullptr;
  Reference reader;
  const double before = instance.normalised(id);
  instance.parameters->SetParameterNormalizedValue(id.c_str(), 0.75);
  EXPECT_EQ(instance.normalised(id), before) << "not before the answer";
  instance.update(id, 0.25);
  EXPECT_EQ(reader.valuesOf(instance)[kOpTrim], -12.0F);
  const std::vector<AutomationEvent> posted = instance.host.takeEvents();
  ASSERT_EQ(posted.size(), 1U);
  instance.update(posted[0].id, posted[0].normalised);
  EXPECT_EQ(instance.normalised(id), 0.75);
  EXPECT_EQ(reader.valuesOf(instance)[kOpTrim], 12.0F);
}

TEST(AaxLoaded, ChunksAreWholeOrRefused) {
  HostedInstance instance(effect(), 2);
  for (const AAX_CTypeID id : {kAAX_ControlsChunkID, kEffectChunk}) {
    const StoredChunk chunk = instance.chunk(id);
    EXPECT_EQ(instance.chunk(id).data, chunk.data) << "asked again";
    std::uint32_t told = 0;
    instance.parameters->GetChunkSize(id, &told);
    EXPECT_EQ(chunk.data.size(), told);
    instance.set(kB1Threshold, -31.0);  // the room is of the size told, whatever changes after
    std::vector<char> room(1 << 16);
    auto* const record = reinterpret_cast<AAX_SPlugInChunk*>(room.data());
    instance.parameters->GetChunk(id, record);
    EXPECT_EQ(static_cast<std::uint32_t>(record->fSize), told);
    instance.set(kB1Threshold, 0.0);
  }
  const std::string whole = instance.chunk(kAAX_ControlsChunkID).data;
  const std::string state = instance.chunk(kEffectChunk).data;
  for (const double value : {1.5, -0.5, kNaN}) {
    std::string damaged = whole;  // within
    std::memcpy(damaged.data() + damaged.size() - sizeof value, &value, sizeof value);
    EXPECT_EQ(instance.restore(kAAX_ControlsChunkID, damaged), -20008) << value;
  }
  EXPECT_EQ(instance.chunk(kEffectChunk).data, state);
  instance.update("bypass", 1.0);
  const std::string bypassed = instance.chunk(kAAX_ControlsChunkID).data;
  for (const bool isBypassed : {false, true}) {
    instance.restore(kAAX_ControlsChunkID, isBypassed ? bypassed : whole);
    EXPECT_EQ(instance.normalised("bypass"), isBypassed ? 1.0 : 0.0);
  }
}

/// The controls alone bring their bank and its values, and leave the other banks as they are. All
/// bands are heard, although two crossover bands at one frequency make no chain.
TEST(AaxLoaded, ControlsGoToTheirBank) {
  HostedInstance source(effect(), 2);
  source.set(kABBank, 3.0);
  Settings settings = busySettings();
  std::ranges::copy(settingsOf("kB3Type=0 kB3State=1 kB3Frequency=900 "
                               "kB4Type=0 kB4State=1 kB4Frequency=900"),
                    std::back_inserter(settings));
  for (const auto& [id, plain] : settings) source.set(id, plain);
  HostedInstance target(effect(), 2);
  target.set(kB1Gain, 7.0);
  EXPECT_EQ(target.restore(kAAX_ControlsChunkID, source.chunk(kAAX_ControlsChunkID).data), 0);
  Reference reader;
  const std::string state = target.chunk(kEffectChunk).data;
  EXPECT_EQ(reader.valuesOf(state), reader.valuesOf(source));
  const int moved = bandParameterId(3, kB1Frequency);
  EXPECT_FLOAT_EQ(float(target.normalised(target.id(moved))), reader.getParameter(moved));
  EXPECT_TRUE(becomes([&] { return target.host.latency() == reader.getInitialDelay(); }));
  EXPECT_NEAR(reader.valuesOf(state, 0)[kB1Gain], 7.0F, 1e-5F);
  EXPECT_EQ(reader.valuesOf(state, 0)[kOpTrim], 0.0F);
}

TEST(AaxLoaded, FieldDataStaysInItsRoom) {
  const HostedInstance instance(effect(), 2);
  const HostedInstance other(effect(), 2);
  void* const own = instance.privatePointer();
  EXPECT_TRUE(own != nullptr && own != other.privatePointer());
  auto& notes = session().host.log.notes;
  notes.clear();
  for (const auto& [field, size] : {std::pair{8U, 8U}, {8U, 4U}, {6U, 4U}, {6U, 16U}}) {
    std::array<char, 24> block{};
    std::array<char, 24> expected{};
    block.fill('#');
    expected.fill('#');
    std::memset(expected.data(), 0, size);  // but for the private pointer where there is room
    if (field == 8) std::memcpy(expected.data(), &own, std::min<std::size_t>(size, sizeof own));
    instance.parameters->ResetFieldData(field, block.data(), size);
    const std::size_t from = field == 8 && size < sizeof own ? size : 0;
    EXPECT_TRUE(std::equal(block.begin() + from, block.end(), expected.begin() + from)) << size;
  }
  EXPECT_EQ(std::ranges::count(notes, "iDataSize==sizeof(SAAXWrap_Alg_Context_Private)"), 1);
}

TEST(AaxLoaded, WithoutAnInputThereIsSilence) {
  for (const int channels : {1, 2}) {
    HostedInstance instance(effect(), channels);
    instance.field(0) = nullptr;
    const Signal nothing = silence(channels, 64);
    for (const double bypassed : {1.0, 0.0}) {
      instance.update("bypass", bypassed);
      EXPECT_EQ(firstDifference(instance.render(nothing), nothing), "") << bypassed;
    }
  }
}

/// Many instances in one callback, every third with no private pointer.
TEST(AaxLoaded, InstancesOfABatchDoNotMix) {
  constexpr int kFrames = 8192;
  constexpr int kBlock = 512;
  const Signal untouched(2, std::vector<float>(kFrames, -1.0F));
  std::deque<HostedInstance> batch;
  std::vector<Signal> in;
  std::vector<Signal> out(12, untouched);
  std::vector<void*> contexts;
  for (unsigned i = 0; i < out.size(); ++i) {
    in.push_back(noise(2, kFrames, i));
    HostedInstance& instance = batch.emplace_back(effect(), 2);
    if (i % 3 == 1) instance.privatePointer() = nullptr;
    contexts.push_back(instance.context());
  }
  for (int at = 0; at < kFrames; at += kBlock) {
    for (std::size_t i = 0; i < in.size(); ++i) batch[i].prepareBlock(in[i], out[i], at, kBlock);
    batch[0].proc(contexts.data(), contexts.data() + contexts.size());
  }
  for (std::size_t i = 0; i < in.size(); ++i) {
    const Signal late = delayed(in[i], batch[i].host.latency());
    EXPECT_EQ(firstDifference(out[i], i % 3 == 1 ? untouched : late, 1e-6), "") << i;
  }
}

}  // namespace
