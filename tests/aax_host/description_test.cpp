#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <sstream>
#include <string>
#include <utility>

#include "apps/aax_host/parameter_facts.h"
#include "tests/aax_host/loaded_plugin.h"
#include "tests/hosted/reference.h"
#include "tests/support/test_directory.h"

const char* const kBuiltLibrary = CORVANTHELIS_AAX;

namespace {

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
    writeBytes(CORVANTHELIS_DESCRIPTION, head + text);
  }
  EXPECT_EQ(head + text, readBytes(CORVANTHELIS_DESCRIPTION));
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

TEST_F(LoadedPlugin, AssertsWhateverItsHostRefuses) {
  std::deque<HostUnknown> hosts;  // each may be in use until the next registration
  const auto refuse = [&](const char* call) {
    hosts.emplace_back().log.refusedCall = call;
    return session->registerWith(hosts.back());
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
  EXPECT_EQ(session->registerWith(session->host), ACF_OK) << "a second time";
  for (const HostUnknown& gone : hosts) {
    EXPECT_EQ(gone.referenceCount(), 0U);
    for (const auto& collection : gone.collections) EXPECT_EQ(collection->referenceCount(), 0U);
  }
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
    EXPECT_EQ(instance.host.registrations.size(), std::size_t{kNumParams + 1});
    for (const auto& [id, count] : instance.host.registrations) EXPECT_EQ(count, 0);
    EXPECT_EQ(library.canUnloadNow(unknown), ACF_FALSE) << "beside an instance";
  }
  EXPECT_EQ(library.canUnloadNow(unknown), ACF_OK);
  EXPECT_EQ(library.shutdown(unknown), ACF_OK);
  EXPECT_EQ(session.host.referenceCount(), 0U);
  EXPECT_EQ(session.collection().referenceCount(), 0U);
}

/// Every host step, of many parameters at once; what the effect made of them is read from its
/// state.
TEST_F(LoadedPlugin, HostStepsReachTheirPlainValues) {
  HostedInstance instance(effect(), 2);
  Reference reader;
  std::vector<ParameterFacts> swept;
  int mostSteps = 0;
  for (int i = 0; i < kABBank; ++i) {  // without the selector of banks: it exchanges the others
    if (!ParameterFacts(i).stepped) continue;
    swept.emplace_back(i);
    mostSteps = std::max(mostSteps, swept.back().hostSteps);
  }
  for (int step = 0; step <= mostSteps; ++step) {
    const bool isLast = step == mostSteps;  // back to the default, as it was told
    for (const ParameterFacts& facts : swept) {
      const double standard = facts.toldValue(static_cast<double>(facts.record.value));
      if (isLast || step < facts.hostSteps) {
        instance.update(facts.id, isLast ? standard : facts.normalisedOfStep(step));
      }
    }
    const std::vector<float> plain = reader.valuesOf(instance);
    for (const ParameterFacts& facts : swept) {
      if (!isLast && step >= facts.hostSteps) continue;
      const auto standard = static_cast<double>(facts.record.value);
      EXPECT_EQ(static_cast<double>(plain[static_cast<std::size_t>(facts.index)]),
                isLast ? standard : facts.plainOfStep(step))
          << facts.record.name << " at host step " << step;
    }
  }
}

}  // namespace
