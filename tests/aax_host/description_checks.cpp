#include <algorithm>
#include <deque>
#include <set>
#include <stdexcept>

#include "tests/aax_host/checks.h"
#include "tests/aax_host/hosted_instance.h"

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

void checkDescription(const Bench& bench, Faults& faults) {
  const std::string mono = std::string(kFields) + kMono;
  const std::string stereo = std::string(kFields) + kStereo;
  faults.equal(bench.effect.component(AAX_eStemFormat_Mono).text(), mono, "the mono component");
  faults.equal(bench.effect.component(AAX_eStemFormat_Stereo).text(), stereo, "the stereo one");
  // In any order.
  const auto told = linesOf(bench.collection.text());
  const auto expected = linesOf(kWhole + mono + stereo);
  for (const std::string& line : told) faults.expect(expected.contains(line), "told: " + line);
  for (const std::string& line : expected) faults.expect(told.contains(line), "missing: " + line);
  faults.equal(told.size(), expected.size(), "the number of lines");
  for (const auto& [which, proc] : bench.effect.procs)
    faults.expect(proc != nullptr, "a null proc");
}

struct Answer {
  ACFRESULT result;
  bool defined;
};

Answer registerWith(const AaxLibrary& library, HostUnknown& host) {
  IACFPluginDefinition* definition = nullptr;
  const ACFRESULT result = library.registerPlugin(host.unknown(), &definition);
  if (definition != nullptr) definition->Release();
  return {result, definition != nullptr};
}

void checkRefusals(const Bench& bench, Faults& faults) {
  std::deque<HostUnknown> hosts;  // each may be in use until the next registration
  const auto refuse = [&](const char* call) {
    hosts.emplace_back().log.refusedCall = call;
    return registerWith(bench.library, hosts.back());
  };
  for (const char* call : {"AddProperty",
                           "AddAudioIn",
                           "AddAudioOut",
                           "AddAudioBufferLength",
                           "AddSampleRate",
                           "AddClock",
                           "AddSideChainIn",
                           "AddMIDINode",
                           "AddPrivateData",
                           "AddMeters",
                           "AddProcessProc_Native",
                           "AddComponent",
                           "AddName",
                           "AddCategory",
                           "AddProcPtr",
                           "AddResourceInfo",
                           "AddMeterDescription",
                           "AddEffect",
                           "SetManufacturerName",
                           "AddPackageName",
                           "SetPackageVersion",
                           "NewComponentDescriptor",
                           "NewPropertyMap"}) {
    refuse(call);
    const bool told = std::ranges::count(hosts.back().log.notes, "err == AAX_SUCCESS") > 0;
    faults.expect(told, std::string("no assertion when ") + call + " is refused");
  }
  faults.equal(refuse("NewDescriptor").result, AAX_ERROR_NULL_OBJECT, "without a descriptor it");
  faults.equal(refuse("CreateInstance").result, ACF_E_UNEXPECTED, "without a collection it");
  const Answer again = registerWith(bench.library, bench.host);
  faults.expect(again.result == ACF_OK && again.defined, "not registered a second time");
  for (const HostUnknown& host : hosts) {
    faults.equal(host.referenceCount(), 0U, "the reference count of a host that is gone");
    for (const auto& collection : host.collections) {
      faults.equal(collection->referenceCount(), 0U, "the reference count of its collection");
    }
  }
}

void checkEntryPoints(const Bench& bench, Faults& faults) {
  const AaxLibrary& library = bench.library;
  IACFUnknown* const host = bench.host.unknown();
  IACFComponentDefinition* component = nullptr;
  faults.equal(library.registerComponent(host, 0, &component), ACF_OK, "a component's result");
  faults.expect(component == nullptr, "there is a component");
  std::uint64_t version = 0;
  faults.equal(library.getSdkVersion(&version), ACF_OK, "the version's result");
  faults.equal(version, kAcfSdkVersion, "the version");
  faults.expect(library.getSdkVersion(nullptr) != ACF_OK, "the version goes nowhere");
  void* object = nullptr;
  library.getClassFactory(host, AAXCompID_AAXCollection, IID_IACFUnknown, &object);
  faults.expect(object == nullptr, "there is a class factory");
  IACFPluginDefinition* definition = nullptr;
  faults.equal(library.registerPlugin(nullptr, &definition), ACF_E_UNEXPECTED, "without host it");
  faults.equal(library.canUnloadNow(host), ACF_OK, "before an instance, unloading");
  {
    const HostedInstance instance(bench.effect, 2);
    faults.equal(library.canUnloadNow(host), ACF_FALSE, "beside an instance, unloading");
  }
  faults.equal(library.canUnloadNow(host), ACF_OK, "after an instance, unloading");
}

constexpr Check kChecks[] = {{"description", &checkDescription},
                             {"description.refusals", &checkRefusals},
                             {"description.entry points", &checkEntryPoints}};

}  // namespace

std::span<const Check> descriptionChecks() { return kChecks; }

const RecordedCollection& describePlugin(const AaxLibrary& library, HostUnknown& host) {
  const Answer answer = registerWith(library, host);
  if (answer.result != ACF_OK || !answer.defined || host.collections.back()->effects.empty()) {
    throw std::runtime_error("describes no effect: result " + std::to_string(answer.result));
  }
  return *host.collections.back();
}
