#include <algorithm>
#include <deque>
#include <set>
#include <sstream>
#include <string>

#include "tests/aax_host/loaded_plugin.h"

namespace {

constexpr const char* kWhole = R"(manufacturer Halvekro
package Corvanthelis
package version 1
effect com.halvekro.Corvanthelis.aax
  name Corvanthelis
  category 2
  resource 1 PageTable.xml
  meter lmni LeftIn 200=0x0 201=0x0
  meter rmni RightIn 200=0x0 201=0x0
  meter lmuo LeftOut 200=0x1 201=0x0
  meter rmuo RightOut 200=0x1 201=0x0
  meter 1mrg GR1 200=0x2 201=0x1
  meter 2mrg GR2 200=0x3 201=0x1
)";

constexpr const char* kFields = R"(component
  field 0: audio in
  field 1: audio out
  field 2: buffer length
  field 3: sample rate
  field 4: clock
  field 5: MIDI node 0, 0xf, Corvanthelis MIDI In
  field 6: private data, 4
  field 7: MIDI node 3, 0xffff, Transport
  field 8: private data, 8
)";

constexpr const char* kMono = R"(  field 9: meters lmni rmni lmuo rmuo 1mrg
  field 10: sidechain in
  process: 11=HVKA 12=CvnP 13=RTMN 14=ASMN 51=0x1 52=0x1 60=0x1 116=0x1
)";

constexpr const char* kStereo = R"(  field 9: meters lmni rmni lmuo rmuo 1mrg 2mrg
  field 10: sidechain in
  process: 11=HVKA 12=CvnP 13=RTST 14=ASST 51=0x10002 52=0x10002 60=0x1 116=0x1
)";

std::multiset<std::string> linesOf(const std::string& text) {
  std::multiset<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.insert(line);
  return lines;
}

TEST_F(LoadedPlugin, TellsTheHostWhatItIs) {
  const std::string mono = std::string(kFields) + kMono;
  const std::string stereo = std::string(kFields) + kStereo;
  EXPECT_EQ(effect().component(AAX_eStemFormat_Mono).text(), mono);
  EXPECT_EQ(effect().component(AAX_eStemFormat_Stereo).text(), stereo);
  EXPECT_EQ(linesOf(session->collection().text()), linesOf(kWhole + mono + stereo)) << "any order";
  for (const auto& [which, proc] : effect().procs) EXPECT_NE(proc, nullptr) << which;
}

TEST_F(LoadedPlugin, AssertsWhateverItsHostRefuses) {
  std::deque<HostUnknown> hosts;  // each may be in use until the next registration
  const auto refuse = [&](const char* call) {
    hosts.emplace_back().log.refusedCall = call;
    return registerWith(session->library, hosts.back());
  };
  std::istringstream calls(
      "AddProperty AddAudioIn AddAudioOut AddAudioBufferLength AddSampleRate AddClock "
      "AddSideChainIn AddMIDINode AddPrivateData AddMeters AddProcessProc_Native AddComponent "
      "AddName AddCategory AddProcPtr AddResourceInfo AddMeterDescription AddEffect "
      "SetManufacturerName AddPackageName SetPackageVersion NewComponentDescriptor "
      "NewPropertyMap");
  for (std::string call; calls >> call;) {
    refuse(call.c_str());
    EXPECT_GT(std::ranges::count(hosts.back().log.notes, "err == AAX_SUCCESS"), 0) << call;
  }
  EXPECT_EQ(refuse("NewDescriptor"), AAX_ERROR_NULL_OBJECT);
  EXPECT_EQ(refuse("CreateInstance"), ACF_E_UNEXPECTED);
  EXPECT_EQ(registerWith(session->library, host), ACF_OK) << "a second time";
  for (const HostUnknown& gone : hosts) {
    EXPECT_EQ(gone.referenceCount(), 0U);
    for (const auto& collection : gone.collections) EXPECT_EQ(collection->referenceCount(), 0U);
  }
}

TEST_F(LoadedPlugin, AnswersAtItsOtherEntryPoints) {
  const AaxLibrary& library = session->library;
  IACFUnknown* const unknown = host.unknown();
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
  const HostedInstance instance(effect(), 2);
  EXPECT_EQ(library.canUnloadNow(unknown), ACF_FALSE) << "beside an instance";
}

}  // namespace
