#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <thread>

#include "tests/aax_host/loaded_plugin.h"
#include "tests/aax_host/parameter_facts.h"
#include "tests/aax_host/reference.h"

namespace {

constexpr AAX_CTypeID kEffectChunk = AAX_TypeID("CvnP");

std::vector<double> allValues(const HostedInstance& instance) {
  std::vector<double> values;
  for (int i = 0; i <= kNumParams; ++i) values.push_back(instance.normalised(instance.id(i)));
  return values;
}

void setBusy(HostedInstance& instance) {
  for (const auto& [index, plain] : busySettings()) instance.set(index, plain);
}

TEST_F(LoadedPlugin, ChunksAreTwoOfTheSizeTold) {
  const HostedInstance instance(effect(), 2);
  std::int32_t count = 0;
  instance.parameters->GetNumberOfChunks(&count);
  EXPECT_EQ(count, 2);
  const struct {
    AAX_CTypeID id;
    const char* name;
  } rows[] = {{kAAX_ControlsChunkID, "Complete Controls State"}, {kEffectChunk, "Plugin Chunk"}};
  for (int i = 0; i < 2; ++i) {
    SCOPED_TRACE(rows[i].name);
    AAX_CTypeID id = 0;
    instance.parameters->GetChunkIDFromIndex(i, &id);
    EXPECT_EQ(id, rows[i].id);
    const StoredChunk chunk = instance.chunk(id);
    EXPECT_EQ(chunk.result, AAX_SUCCESS);
    EXPECT_FALSE(chunk.overrun);
    EXPECT_EQ(chunk.name, rows[i].name);
    std::uint32_t size = 0;
    instance.parameters->GetChunkSize(id, &size);
    EXPECT_EQ(chunk.data.size(), size);
    EXPECT_FALSE(chunk.data.empty());
    EXPECT_EQ(instance.chunk(id).data, chunk.data) << "asked again";
  }
}

/// Restores the effect's chunk: the host is told of what it changes, of each value once.
AAX_Result restoreTold(HostedInstance& target, AAX_CTypeID id, const std::string& data) {
  const std::vector<double> before = allValues(target);
  static_cast<void>(target.host.takeEvents());
  const AAX_Result result = target.restore(id, data);
  const std::vector<AutomationEvent> events = target.host.takeEvents();
  const std::vector<double> after = allValues(target);
  for (int i = 0; id == kEffectChunk && i < kNumParams; ++i) {
    const auto index = static_cast<std::size_t>(i);
    const auto told = std::ranges::count_if(events, [&](const AutomationEvent& event) {
      return event.kind == 'P' && event.id == target.id(i);
    });
    EXPECT_EQ(told, after[index] != before[index] ? 1 : 0) << target.id(i);
  }
  return result;
}

/// States taken before anything was rendered, into instances that have rendered other values.
TEST_F(LoadedPlugin, ChunksBringTheValuesBack) {
  Reference reader;
  const struct {
    const char* name;
    std::vector<AAX_CTypeID> chunks;
    double bank;
  } rows[] = {{"the effect's chunk", {kEffectChunk}, 1.0},  // made in bank B
              {"the controls chunk", {kAAX_ControlsChunkID}, 1.0},
              {"both chunks", {kAAX_ControlsChunkID, kEffectChunk}, 1.0},
              {"both chunks turned", {kEffectChunk, kAAX_ControlsChunkID}, 1.0},
              {"both chunks of bank A", {kEffectChunk, kAAX_ControlsChunkID}, 0.0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    HostedInstance source(effect(), 2);
    source.set(kB1Knee, 50.0);
    source.set(kABBank, row.bank);
    setBusy(source);
    source.set(kABBank, 1.0 - row.bank);
    source.set(kB1Gain, -5.0);
    source.set(kABBank, row.bank);
    HostedInstance target(effect(), 2);
    target.set(kB1Gain, 7.0);
    static_cast<void>(target.render(noise(2, 4800)));
    for (const AAX_CTypeID id : row.chunks) {
      EXPECT_EQ(restoreTold(target, id, source.chunk(id).data), AAX_SUCCESS);
    }
    EXPECT_EQ(reader.valuesOf(target), reader.valuesOf(source));
    for (int i = 0; i <= kABBank; ++i) {
      const ParameterFacts facts(i);
      const auto stepOf = [&](const HostedInstance& instance) {
        return std::lround(instance.normalised(facts.id) * (facts.hostSteps - 1));
      };
      EXPECT_EQ(stepOf(target), stepOf(source)) << facts.record.name;
    }
    if (std::ranges::find(row.chunks, kEffectChunk) == row.chunks.end()) continue;
    // The effect's chunk holds the other banks as well.
    for (HostedInstance* const instance : {&source, &target}) {
      for (const double bank : {1.0, 0.0, 5.0, 1.0 - row.bank}) instance->set(kABBank, bank);
    }
    EXPECT_EQ(reader.valuesOf(target), reader.valuesOf(source)) << "of another bank";
  }
}

/// A restored instance sounds like the one it comes from.
TEST_F(LoadedPlugin, ARestoredInstanceSoundsAsItsSource) {
  HostedInstance source(effect(), 2);
  HostedInstance target(effect(), 2);
  setBusy(source);
  target.restore(kEffectChunk, source.chunk(kEffectChunk).data);
  waitForIdle();
  EXPECT_EQ(target.host.latency(), source.host.latency());
  const Signal expected = source.render(noise(2, 24000));
  const Signal actual = target.render(noise(2, 24000));
  // Rounding alone: filters reached by edits and at once differ in their last bits.
  for (std::size_t i = 0; i < 2 * expected[0].size(); ++i) {
    ASSERT_NEAR(actual[i % 2][i / 2], expected[i % 2][i / 2], 1e-6) << i;
  }
}

TEST_F(LoadedPlugin, DamagedChunksChangeNothing) {
  HostedInstance instance(effect(), 2);
  setBusy(instance);
  const std::vector<double> values = allValues(instance);
  const std::string state = instance.chunk(kEffectChunk).data;
  HostedInstance other(effect(), 2);
  for (const AAX_CTypeID id : {kEffectChunk, kAAX_ControlsChunkID}) {
    const std::string whole = other.chunk(id).data;
    std::vector<std::string> damaged = {"",
                                        "Z",
                                        "ZIP ",
                                        std::string(whole.size(), '\xff'),
                                        std::string(whole.size(), '\0'),
                                        whole.substr(1)};
    for (const std::size_t bytes : {whole.size() / 2, whole.size() - 40, std::size_t{5}}) {
      damaged.push_back(whole.substr(0, bytes));
    }
    if (id == kAAX_ControlsChunkID) damaged.push_back(whole + '\0');
    for (std::size_t i = 0; i < damaged.size(); ++i) {
      SCOPED_TRACE(testing::Message() << "damage " << i << " of chunk " << id);
      instance.restore(id, damaged[i]);
      EXPECT_EQ(allValues(instance), values);
      EXPECT_EQ(instance.chunk(kEffectChunk).data, state);
    }
    AAX_SPlugInChunk negative{};
    negative.fSize = -1;
    EXPECT_NE(instance.parameters->SetChunk(id, &negative), AAX_SUCCESS) << "a negative size";
  }
}

TEST_F(LoadedPlugin, RefusalsHaveTheirCodes) {
  HostedInstance instance(effect(), 2);
  AAX_IEffectParameters& p = *instance.parameters;
  constexpr AAX_CTypeID kUnknown = AAX_TypeID("zzzz");
  AAX_CTypeID id = 0;
  std::uint32_t size = 0;
  AAX_SPlugInChunk chunk{};
  float curve[2] = {100.0F, 1000.0F};
  const struct {
    const char* call;
    AAX_Result actual, expected;
  } rows[] = {
      {"chunk index -1", p.GetChunkIDFromIndex(-1, &id), AAX_ERROR_INVALID_CHUNK_INDEX},
      {"chunk index 2", p.GetChunkIDFromIndex(2, &id), AAX_ERROR_INVALID_CHUNK_INDEX},
      {"unknown size", p.GetChunkSize(kUnknown, &size), AAX_ERROR_INVALID_CHUNK_ID},
      {"unknown chunk", p.GetChunk(kUnknown, &chunk), AAX_ERROR_INVALID_CHUNK_ID},
      {"unknown restore", p.SetChunk(kUnknown, &chunk), AAX_ERROR_INVALID_CHUNK_ID},
      {"controls of no told size", p.GetChunk(kAAX_ControlsChunkID, &chunk),
       AAX_ERROR_INCORRECT_CHUNK_SIZE},
      {"curve", p.GetCurveData(AAX_eCurveType_EQ, curve, 2, curve), AAX_ERROR_UNIMPLEMENTED},
      {"other curve", p.GetCurveData(kUnknown, curve, 2, curve), AAX_ERROR_UNIMPLEMENTED}};
  for (const auto& row : rows) EXPECT_EQ(row.actual, row.expected) << row.call;
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
  host.log.notes.clear();
  EXPECT_TRUE(reset(8, 4)) << "too little room";
  const auto& notes = host.log.notes;
  const char* const note = "iDataSize==sizeof(SAAXWrap_Alg_Context_Private)";
  EXPECT_EQ(std::ranges::count(notes, note), 1);
  for (const std::uint32_t size : {4U, 16U}) {
    EXPECT_TRUE(reset(6, size));
    EXPECT_EQ(std::count(block.begin(), block.end(), 0), size) << "another field is zeroed";
  }
}

/// Renders until the reported latency is `expected`, but no longer than a second.
bool latencyBecomes(HostedInstance& instance, int expected) {
  for (int turn = 0; turn < 50; ++turn) {
    static_cast<void>(instance.render(noise(2, 64)));
    if (instance.host.latency() == expected) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

TEST_F(LoadedPlugin, OfflineRenderingHasItsOwnLatency) {
  HostedInstance instance(effect(), 2);
  Reference offline(true);
  instance.set(kOversampleOL, 2.0);
  offline.set(kOversampleOL, 2.0);
  offline.resume();
  const int live = instance.host.latency();
  EXPECT_NE(offline.getInitialDelay(), live);
  instance.notify(AAX_eNotificationEvent_EnteringOfflineMode);
  EXPECT_TRUE(latencyBecomes(instance, offline.getInitialDelay()));
  instance.notify(AAX_eNotificationEvent_ExitingOfflineMode);
  EXPECT_TRUE(latencyBecomes(instance, live)) << "again";
}

TEST_F(LoadedPlugin, NotificationsChangeNoState) {
  HostedInstance instance(effect(), 2);
  setBusy(instance);
  const std::vector<double> values = allValues(instance);
  const std::string state = instance.chunk(kEffectChunk).data;
  const std::string longName(1000, '\xe9');
  const std::int32_t previewing = 1;
  const std::string_view preview(reinterpret_cast<const char*>(&previewing), sizeof previewing);
  for (const std::string_view name : {std::string_view(longName), std::string_view("Voc\xc3\xa4l"),
                                      std::string_view("a\0b", 3), std::string_view()}) {
    instance.notify(AAX_eNotificationEvent_TrackNameChanged, name);
  }
  for (const std::string_view data : {preview, preview.substr(0, 1), std::string_view()}) {
    instance.notify(AAX_eNotificationEvent_ASPreviewState, data);
  }
  instance.notify(AAX_TypeID("zzzz"), longName);
  EXPECT_EQ(allValues(instance), values);
  EXPECT_EQ(instance.chunk(kEffectChunk).data, state);
}

}  // namespace
