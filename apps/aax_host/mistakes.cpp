#include "apps/aax_host/mistakes.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "apps/aax_host/hosted_instance.h"

namespace {

constexpr AAX_CTypeID kUnknown = AAX_TypeID("zzzz");

void printRefusedCalls(AaxSession& session, std::ostream& out) {
  std::deque<HostUnknown> hosts;  // kept, since each may be in use until the next registration
  for (const char* const call : {"AddProperty",
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
                                 "NewPropertyMap",
                                 "NewDescriptor",
                                 "CreateInstance"}) {
    HostUnknown& host = hosts.emplace_back();
    host.log.refusedCall = call;
    const ACFRESULT result = session.registerWith(host);
    const bool isNoted = std::ranges::count(host.log.notes, "err == AAX_SUCCESS") > 0;
    out << "refused " << call << ": " << result << (isNoted ? ", noted" : "") << '\n';
  }
  out << "registered once more: " << session.registerWith(session.host) << '\n';
  const bool isFree = std::ranges::all_of(hosts, [](const HostUnknown& host) {
    return host.referenceCount() == 0 &&
           std::ranges::all_of(host.collections,
                               [](const auto& each) { return each->referenceCount() == 0; });
  });
  out << "hosts before are " << (isFree ? "let go" : "still held") << '\n';
}

void printUnknownParameters(AAX_IEffectParameters& p, std::ostream& out) {
  HostString text;
  double number = 0.0;
  std::int32_t whole = 0;
  AAX_EParameterType type{};
  for (const char* id : {"nobody", "bypas", "Bypass", static_cast<const char*>(nullptr)}) {
    out << "parameter " << (id != nullptr ? id : "of no name");
    for (const AAX_Result result :
         {p.UpdateParameterNormalizedValue(id, 0.5, AAX_eUpdateSource_Unspecified),
          p.SetParameterNormalizedValue(id, 0.5), p.TouchParameter(id), p.ReleaseParameter(id),
          p.GetParameterNormalizedValue(id, &number), p.GetParameterIndex(id, &whole),
          p.GetParameterName(id, &text), p.GetParameterNumberOfSteps(id, &whole),
          p.GetParameterType(id, &type), p.GetParameterDefaultNormalizedValue(id, &number),
          p.GetParameterStringFromValue(id, 0.5, &text)}) {
      out << ' ' << result;
    }
    out << '\n';
  }
  std::int32_t count = 0;
  p.GetNumberOfParameters(&count);
  for (const std::int32_t index : {-1, count}) {
    out << "parameter " << index << ": " << p.GetParameterIDFromIndex(index, &text) << '\n';
  }
}

void printChunks(const HostedInstance& instance, std::ostream& out) {
  AAX_IEffectParameters& p = *instance.parameters;
  AAX_CTypeID id = 0;
  std::int32_t count = 0;
  p.GetNumberOfChunks(&count);
  for (std::int32_t index = -1; index <= count; ++index) {
    const AAX_Result result = p.GetChunkIDFromIndex(index, &id);
    out << "chunk " << index << ": " << result;
    if (result == AAX_SUCCESS) {
      AAX_SPlugInChunk chunk{};
      chunk.fSize = -1;
      const StoredChunk stored = instance.chunk(id);
      out << ' ' << char(id >> 24) << char(id >> 16) << char(id >> 8) << char(id) << ' '
          << stored.name << ", " << stored.result << (stored.overrun ? ", too long" : "")
          << "; of negative size " << p.SetChunk(id, &chunk);
    }
    out << '\n';
  }
  std::uint32_t size = 0;
  AAX_SPlugInChunk chunk{};
  out << "unknown chunk: " << p.GetChunkSize(kUnknown, &size) << ' ' << p.GetChunk(kUnknown, &chunk)
      << ' ' << p.SetChunk(kUnknown, &chunk) << '\n';
  float curve[2] = {100.0F, 1000.0F};
  out << "curve: " << p.GetCurveData(AAX_eCurveType_EQ, curve, 2, curve) << ' '
      << p.GetCurveData(AAX_eCurveType_EQ, nullptr, 0, nullptr) << ' '
      << p.GetCurveData(kUnknown, curve, 2, curve) << '\n';
}

}  // namespace

void printMistakes(AaxSession& session, std::ostream& out) {
  printRefusedCalls(session, out);
  const HostedInstance instance(session.effect(), 2);
  AAX_SPlugInChunk chunk{};
  out << "controls of no told size: " << instance.parameters->GetChunk(kAAX_ControlsChunkID, &chunk)
      << '\n';
  printUnknownParameters(*instance.parameters, out);
  printChunks(instance, out);
}
