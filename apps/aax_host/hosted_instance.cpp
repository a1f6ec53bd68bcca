#include "apps/aax_host/hosted_instance.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "apps/aax_host/parameter_facts.h"

namespace {

constexpr std::size_t kChunkHead = offsetof(AAX_SPlugInChunk, fData);
constexpr std::size_t kLongestBlock = 1024;

}  // namespace

ACFRESULT InstanceHost::QueryInterface(const acfIID& iid, void** object) {
  if (iid == IID_AAX_IAutomationDelegate) {
    return give(automates ? static_cast<AAX_IAutomationDelegate*>(this) : nullptr, object);
  }
  const bool known = iid == IID_IACFUnknown || iid == IID_AAX_IController;
  return give(known ? static_cast<AAX_IController*>(this) : nullptr, object);
}

AAX_Result InstanceHost::count(AAX_CParamID id, int change) {
  const HostMemory own;
  if (change > 0 && registrations.size() >= mostParameters) return AAX_ERROR_UNIMPLEMENTED;
  registrations[id] += change;
  return AAX_SUCCESS;
}

AAX_Result InstanceHost::PostSetValueRequest(AAX_CParamID id, double normalised) {
  const AAX_Result result = note('P', id, normalised);
  if (echo == nullptr) return result;
  return echo->UpdateParameterNormalizedValue(id, normalised, AAX_eUpdateSource_Parameter);
}

AAX_Result InstanceHost::note(char kind, AAX_CParamID id, double normalised) {
  const HostMemory own;
  const std::scoped_lock lock(mutex);
  events.push_back({kind, id, normalised});
  return AAX_SUCCESS;
}

HostedInstance::HostedInstance(const RecordedEffect& effect, int mainChannels, float sampleRate)
    : channels(mainChannels),
      format(channels == 1 ? AAX_eStemFormat_Mono : AAX_eStemFormat_Stereo),
      component(effect.component(format)),
      proc(component.procs.at(format)),
      host(format, sampleRate),
      rate(sampleRate) {
  IACFUnknown* const made = effect.procs.at(kAAX_ProcPtrID_Create_EffectParameters)();
  if (made == nullptr) throw std::runtime_error("no instance is made");
  void* found = nullptr;
  made->QueryInterface(IID_AAX_IEffectParameters, &found);
  made->Release();
  if (found == nullptr) throw std::runtime_error("an instance has no parameters");
  parameters = static_cast<AAX_IEffectParameters*>(found);
  host.echo = parameters;
  const AAX_Result result = parameters->Initialize(static_cast<AAX_IController*>(&host));
  if (result != AAX_SUCCESS) {
    parameters->Release();
    throw std::runtime_error("an instance is not initialised: " + std::to_string(result));
  }
  layOutContext();
}

void HostedInstance::close() {
  if (parameters == nullptr) return;
  parameters->Uninitialize();
  std::exchange(parameters, nullptr)->Release();
}

void HostedInstance::layOutContext() {
  inputs.resize(static_cast<std::size_t>(channels) + 1);
  decoy.assign(kLongestBlock, 0.5F);
  outputs.assign(static_cast<std::size_t>(channels) + 1, decoy.data());
  transportNode.transport = &transport;
  for (std::size_t i = 0; i < meters.size(); ++i) meterPointers[i] = &meters[i];
  const std::map<FieldKind, void*> storage = {
      {FieldKind::kIn, inputs.data()}, {FieldKind::kOut, outputs.data()},
      {FieldKind::kLength, &length},   {FieldKind::kRate, &rate},
      {FieldKind::kClock, &clock},     {FieldKind::kSide, &sideIndex},
      {FieldKind::kMidi, nullptr},     {FieldKind::kTransport, nullptr},
      {FieldKind::kOwn, nullptr},      {FieldKind::kMeters, meterPointers.data()}};
  for (const auto& [index, field] : component.fields) {
    fields.resize(index + 1, nullptr);
    fields[index] = storage.at(field.kind);
    if (field.kind != FieldKind::kOwn) continue;
    const auto bytes = static_cast<std::uint32_t>(field.bytes);
    auto& block = privateData[index];
    block.assign(bytes / sizeof(std::uint64_t) + 1, ~std::uint64_t{0});
    parameters->ResetFieldData(index, block.data(), bytes);
    fields[index] = block.data();
  }
}

std::string HostedInstance::id(int index) const {
  HostString text;
  parameters->GetParameterIDFromIndex(index, &text);
  return text.text;
}

AAX_Result HostedInstance::update(const std::string& parameterId, double value) {
  return parameters->UpdateParameterNormalizedValue(parameterId.c_str(), value,
                                                    AAX_eUpdateSource_Unspecified);
}

void HostedInstance::set(int index, double plain) {
  update(id(index), ParameterFacts(index).hostValue(plain));
}

double HostedInstance::normalised(const std::string& parameterId) const {
  double value = -1.0;
  parameters->GetParameterNormalizedValue(parameterId.c_str(), &value);
  return value;
}

void HostedInstance::notify(AAX_CTypeID type, std::string_view data) {
  parameters->NotificationReceived(type, data.data(), static_cast<std::uint32_t>(data.size()));
}

void HostedInstance::prepareBlock(Signal& in, Signal& out, int frame, int frames) {
  const auto main = static_cast<std::size_t>(channels);
  for (std::size_t c = 0; c < main; ++c) {
    inputs[c] = in[c].data() + frame;
    outputs[c] = out[c].data() + frame;
  }
  const bool hasSide = in.size() > main;
  inputs[main] = hasSide ? in[main].data() + frame : decoy.data();
  sideIndex = hasSide ? channels : 0;
  length = frames;
  midiIn.packets = std::exchange(packets, {});
  for (const auto& [index, field] : component.fields) {
    if (field.kind != FieldKind::kMidi && field.kind != FieldKind::kTransport) continue;
    FedMidiNode& node = field.kind == FieldKind::kMidi ? midiIn : transportNode;
    fields[index] = nodesPresent ? static_cast<AAX_IMIDINode*>(&node) : nullptr;
  }
}

Signal HostedInstance::render(Signal in) {
  Signal out(static_cast<std::size_t>(channels), std::vector<float>(in[0].size(), -1.0F));
  forBlocks(static_cast<int>(in[0].size()), [&](int at, int count) {
    prepareBlock(in, out, at, count);
    void* const one = context();
    proc(&one, &one + 1);
    clock += count;
  });
  return out;
}

StoredChunk HostedInstance::chunk(AAX_CTypeID chunkId) const {
  constexpr std::string_view kGuard = "nothing may be written here";
  std::uint32_t size = 0;
  StoredChunk stored{parameters->GetChunkSize(chunkId, &size), {}, {}};
  if (stored.result != AAX_SUCCESS) return stored;
  std::vector<char> bytes(kChunkHead + size);
  bytes.insert(bytes.end(), kGuard.begin(), kGuard.end());
  auto* const record = reinterpret_cast<AAX_SPlugInChunk*>(bytes.data());
  stored.result = parameters->GetChunk(chunkId, record);
  const auto written = static_cast<std::uint32_t>(record->fSize);
  stored.overrun = written > size || !std::equal(kGuard.rbegin(), kGuard.rend(), bytes.rbegin());
  if (stored.overrun || stored.result != AAX_SUCCESS) return stored;
  stored.name.assign(record->fName, strnlen(record->fName, sizeof record->fName));
  stored.data.assign(bytes.data() + kChunkHead, written);
  return stored;
}

AAX_Result HostedInstance::restore(AAX_CTypeID chunkId, std::string_view data) {
  std::vector<char> bytes(kChunkHead + data.size() + 1);
  auto* const record = reinterpret_cast<AAX_SPlugInChunk*>(bytes.data());
  record->fSize = static_cast<std::int32_t>(data.size());
  record->fVersion = 1;
  record->fChunkID = static_cast<std::int32_t>(chunkId);
  std::memcpy(bytes.data() + kChunkHead, data.data(), data.size());
  return parameters->SetChunk(chunkId, record);
}
