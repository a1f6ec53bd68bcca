#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>

#include "tests/aax_host/loaded_plugin.h"
#include "tests/hosted/reference.h"

namespace {

constexpr AAX_CTypeID kEffectChunk = AAX_TypeID("CvnP");
constexpr AAX_CTypeID kUnknown = AAX_TypeID("zzzz");

std::string textOf(const std::vector<AutomationEvent>& events) {
  std::string text;
  for (const AutomationEvent& event : events) text += event.id + event.kind;
  return text;
}

TEST_F(LoadedPlugin, FramesAndTellsWhatTheHostAndItsBanksChange) {
  HostedInstance instance(effect(), 2);
  const std::string id = instance.id(kOpTrim);
  const auto changes = [&] {
    std::int32_t count = 0;
    instance.parameters->GetNumberOfChanges(&count);
    return count;
  };
  const std::int32_t before = changes();
  instance.parameters->TouchParameter(id.c_str());
  instance.parameters->SetParameterNormalizedValue(id.c_str(), 0.75);
  instance.parameters->ReleaseParameter(id.c_str());
  EXPECT_EQ(textOf(instance.host.takeEvents()), id + "T" + id + "P" + id + "R");
  EXPECT_EQ(changes(), before + 1);
  for (const auto& [given, kept] : {std::pair{0.75, 0.75}, {7.0, 1.0}, {-7.0, 0.0}}) {
    instance.update(id, given);
    EXPECT_EQ(instance.normalised(id), kept) << given;
  }
  EXPECT_EQ(changes(), before + 4);
  instance.update(id, std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(instance.normalised(id), 0.0) << "no number";
  EXPECT_TRUE(instance.host.takeEvents().empty()) << "the host's own values";
  // Another bank frames all but its selector.
  instance.set(kABBank, 1.0);
  std::string expected;
  for (int i = 0; i < kABBank; ++i) {
    const std::string each = instance.id(i);
    expected += each + "T" + each + "P" + each + "R";
  }
  EXPECT_EQ(textOf(instance.host.takeEvents()), expected);
}

/// A host may answer what was posted when it likes: whatever comes last holds.
TEST_F(LoadedPlugin, PostedValuesWaitForTheirHost) {
  HostedInstance instance(effect(), 2);
  Reference reader;
  instance.host.echo = nullptr;
  const std::string id = instance.id(kOpTrim);
  instance.parameters->SetParameterNormalizedValue(id.c_str(), 0.75);
  EXPECT_EQ(instance.normalised(id), 0.5) << "not before the answer";
  instance.update(id, 0.25);
  EXPECT_EQ(reader.valuesOf(instance)[kOpTrim], -12.0F);
  const std::vector<AutomationEvent> posted = instance.host.takeEvents();
  ASSERT_EQ(posted.size(), 1U);
  instance.update(posted[0].id, posted[0].normalised);
  EXPECT_EQ(instance.normalised(id), 0.75);
  EXPECT_EQ(reader.valuesOf(instance)[kOpTrim], 12.0F);
}

TEST_F(LoadedPlugin, RefusalsHaveTheirCodes) {
  HostedInstance instance(effect(), 2);
  AAX_IEffectParameters& p = *instance.parameters;
  HostString text;
  double number = 0.0;
  std::int32_t whole = 0;
  AAX_EParameterType type{};
  for (const char* id : {"nobody", "bypas", "Bypass", static_cast<const char*>(nullptr)}) {
    const std::pair<const char*, AAX_Result> results[] = {
        {"update", p.UpdateParameterNormalizedValue(id, 0.5, AAX_eUpdateSource_Unspecified)},
        {"set", p.SetParameterNormalizedValue(id, 0.5)},
        {"touch", p.TouchParameter(id)},
        {"release", p.ReleaseParameter(id)},
        {"value", p.GetParameterNormalizedValue(id, &number)},
        {"index", p.GetParameterIndex(id, &whole)},
        {"name", p.GetParameterName(id, &text)},
        {"steps", p.GetParameterNumberOfSteps(id, &whole)},
        {"type", p.GetParameterType(id, &type)},
        {"default", p.GetParameterDefaultNormalizedValue(id, &number)},
        {"text", p.GetParameterStringFromValue(id, 0.5, &text)}};
    for (const auto& [call, result] : results) EXPECT_EQ(result, -20001) << call;
  }
  AAX_CTypeID id = 0;
  std::uint32_t size = 0;
  AAX_SPlugInChunk chunk{};
  AAX_SPlugInChunk negative{};
  negative.fSize = -1;
  float curve[2] = {100.0F, 1000.0F};
  const struct {
    const char* call;
    AAX_Result actual, expected;
  } rows[] = {{"index -1", p.GetParameterIDFromIndex(-1, &text), -20001},
              {"index 423", p.GetParameterIDFromIndex(kNumParams + 1, &text), -20001},
              {"chunk index -1", p.GetChunkIDFromIndex(-1, &id), -20006},
              {"chunk index 2", p.GetChunkIDFromIndex(2, &id), -20006},
              {"unknown size", p.GetChunkSize(kUnknown, &size), -20007},
              {"unknown chunk", p.GetChunk(kUnknown, &chunk), -20007},
              {"unknown restore", p.SetChunk(kUnknown, &chunk), -20007},
              {"controls of no told size", p.GetChunk(kAAX_ControlsChunkID, &chunk), -20008},
              {"negative controls", p.SetChunk(kAAX_ControlsChunkID, &negative), -20008},
              {"negative state", p.SetChunk(kEffectChunk, &negative), -20008},
              {"curve", p.GetCurveData(AAX_eCurveType_EQ, curve, 2, curve), -20009},
              {"no curve", p.GetCurveData(AAX_eCurveType_EQ, nullptr, 0, nullptr), -20009},
              {"other curve", p.GetCurveData(kUnknown, curve, 2, curve), -20009}};
  for (const auto& row : rows) EXPECT_EQ(row.actual, row.expected) << row.call;
}

/// Values that are damaged within leave all as it was, too.
TEST_F(LoadedPlugin, ChunksAreNamedAndWholeOrRefused) {
  HostedInstance instance(effect(), 2);
  std::int32_t count = 0;
  instance.parameters->GetNumberOfChunks(&count);
  EXPECT_EQ(count, 2);
  const std::pair<AAX_CTypeID, const char*> rows[] = {
      {kAAX_ControlsChunkID, "Complete Controls State"}, {kEffectChunk, "Plugin Chunk"}};
  for (int i = 0; i < count; ++i) {
    AAX_CTypeID id = 0;
    instance.parameters->GetChunkIDFromIndex(i, &id);
    EXPECT_EQ(id, rows[i].first);
    const StoredChunk chunk = instance.chunk(id);
    EXPECT_EQ(chunk.name, rows[i].second);
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
  for (const double value : {1.5, -0.5, std::numeric_limits<double>::quiet_NaN()}) {
    std::string damaged = whole;
    std::memcpy(damaged.data() + damaged.size() - sizeof value, &value, sizeof value);
    EXPECT_EQ(instance.restore(kAAX_ControlsChunkID, damaged), -20008) << value;
  }
  EXPECT_EQ(instance.chunk(kEffectChunk).data, state);
  EXPECT_EQ(instance.normalised("bypass"), 0.0);
  instance.update("bypass", 1.0);
  const std::string bypassed = instance.chunk(kAAX_ControlsChunkID).data;
  instance.restore(kAAX_ControlsChunkID, whole);
  EXPECT_EQ(instance.normalised("bypass"), 0.0);
  instance.restore(kAAX_ControlsChunkID, bypassed);
  EXPECT_EQ(instance.normalised("bypass"), 1.0);
}

/// The controls alone bring their bank and its values, and leave the other banks as they are.
TEST_F(LoadedPlugin, ControlsGoToTheirBank) {
  HostedInstance source(effect(), 2);
  source.set(kABBank, 3.0);
  for (const auto& [id, plain] : busySettings()) source.set(id, plain);
  HostedInstance target(effect(), 2);
  target.set(kB1Gain, 7.0);
  EXPECT_EQ(target.restore(kAAX_ControlsChunkID, source.chunk(kAAX_ControlsChunkID).data), 0);
  Reference reader;
  const std::string state = target.chunk(kEffectChunk).data;
  EXPECT_EQ(reader.valuesOf(state), reader.valuesOf(source));
  EXPECT_NEAR(reader.valuesOf(state, 0)[kB1Gain], 7.0F, 1e-5F);
  EXPECT_EQ(reader.valuesOf(state, 0)[kOpTrim], 0.0F);
}

TEST_F(LoadedPlugin, FieldDataStaysInItsRoom) {
  const HostedInstance instance(effect(), 2);
  const HostedInstance other(effect(), 2);
  void* const own = instance.privatePointer();
  EXPECT_TRUE(own != nullptr && own != other.privatePointer());
  std::array<unsigned char, 24> block{};
  const auto reset = [&](AAX_CFieldIndex field, std::uint32_t size) {
    block.fill(0xee);
    instance.parameters->ResetFieldData(field, block.data(), size);
    return std::all_of(block.begin() + size, block.end(), [](auto byte) { return byte == 0xee; });
  };
  EXPECT_TRUE(reset(8, sizeof own));
  EXPECT_EQ(std::memcmp(block.data(), &own, sizeof own), 0);
  auto& notes = session->host.log.notes;
  notes.clear();
  EXPECT_TRUE(reset(8, 4)) << "too little room";
  const char* const note = "iDataSize==sizeof(SAAXWrap_Alg_Context_Private)";
  EXPECT_EQ(std::ranges::count(notes, note), 1);
  for (const std::uint32_t size : {4U, 16U}) {
    EXPECT_TRUE(reset(6, size));
    EXPECT_EQ(std::count(block.begin(), block.end(), 0), size) << "another field is zeroed";
  }
}

TEST_F(LoadedPlugin, NotificationsChangeNoState) {
  HostedInstance instance(effect(), 2);
  for (const auto& [id, plain] : busySettings()) instance.set(id, plain);
  const std::string controls = instance.chunk(kAAX_ControlsChunkID).data;
  const std::string state = instance.chunk(kEffectChunk).data;
  const std::string longName(1000, '\xe9');
  const std::string_view preview("\1\0\0\0", 4);
  const std::pair<AAX_CTypeID, std::string_view> rows[] = {
      {AAX_eNotificationEvent_TrackNameChanged, longName},
      {AAX_eNotificationEvent_TrackNameChanged, {}},
      {AAX_eNotificationEvent_ASPreviewState, preview},
      {AAX_eNotificationEvent_ASPreviewState, preview.substr(0, 1)},
      {AAX_eNotificationEvent_ASPreviewState, {}},
      {kUnknown, longName}};
  for (const auto& [type, data] : rows) instance.notify(type, data);
  EXPECT_EQ(instance.chunk(kAAX_ControlsChunkID).data, controls);
  EXPECT_EQ(instance.chunk(kEffectChunk).data, state);
}

TEST_F(LoadedPlugin, BypassGivesTheVeryBitsAndNoMeters) {
  for (const int channels : {1, 2}) {
    HostedInstance instance(effect(), channels);
    static_cast<void>(instance.render(noise(channels, 4000)));
    instance.update("bypass", 1.0);
    constexpr float kBefore = 0.25F;
    instance.meters.fill(kBefore);
    Signal in = noise(channels, 4000, 5);
    in.back()[17] = std::numeric_limits<float>::quiet_NaN();
    in.back()[18] = -0.0F;
    in.back()[19] = 1e-42F;
    EXPECT_EQ(firstDifference(instance.render(in), in), "");
    for (std::size_t i = 0; i < instance.meters.size(); ++i) {
      EXPECT_EQ(instance.meters[i], i < (channels == 2 ? 6U : 5U) ? 0.0F : kBefore) << i;
    }
  }
}

/// Many instances in one callback, every third with no private pointer.
TEST_F(LoadedPlugin, InstancesOfABatchDoNotMix) {
  constexpr std::size_t kInstances = 12;
  constexpr int kFrames = 8192;
  constexpr int kBlock = 512;
  const Signal untouched(2, std::vector<float>(kFrames, -1.0F));
  std::vector<std::unique_ptr<HostedInstance>> instances(kInstances);
  std::vector<Signal> ins(kInstances);
  std::vector<Signal> outs(kInstances, untouched);
  std::vector<void*> contexts(kInstances);
  const auto isSkipped = [](std::size_t i) { return i % 3 == 1; };
  for (std::size_t i = 0; i < kInstances; ++i) {
    instances[i] = std::make_unique<HostedInstance>(effect(), 2);
    ins[i] = noise(2, kFrames, static_cast<unsigned>(i));
    if (isSkipped(i)) instances[i]->privatePointer() = nullptr;
    contexts[i] = instances[i]->context();
  }
  for (int at = 0; at < kFrames; at += kBlock) {
    for (std::size_t i = 0; i < kInstances; ++i) {
      instances[i]->prepareBlock(ins[i], outs[i], at, kBlock);
    }
    instances[0]->proc(contexts.data(), contexts.data() + contexts.size());
  }
  for (std::size_t i = 0; i < kInstances; ++i) {
    const Signal& expected =
        isSkipped(i) ? untouched : delayed(ins[i], instances[i]->host.latency());
    EXPECT_EQ(firstDifference(outs[i], expected, isSkipped(i) ? 0.0 : 1e-6), "") << i;
  }
}

}  // namespace
