// The AAX library as hosts load it, while memory runs out.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/parameter_ids.h"
#include "tests/aax_host/aax_library.h"
#include "tests/aax_host/hosted_instance.h"
#include "tests/memory/memory_walk.h"

namespace {

constexpr AAX_CTypeID kState = AAX_TypeID("CvnP");
constexpr AAX_CTypeID kControls = AAX_TypeID("elck");
constexpr std::size_t kHead = offsetof(AAX_SPlugInChunk, fData);

const RecordedEffect& effect() {
  static HostUnknown host;
  static const AaxLibrary library(CORVANTHELIS_AAX);
  static IACFPluginDefinition* definition = nullptr;
  if (definition == nullptr) library.registerPlugin(host.unknown(), &definition);
  return *host.collections.front()->effects.front();
}

AAX_IEffectParameters* make() {
  IACFUnknown* const made = effect().procs.at(kAAX_ProcPtrID_Create_EffectParameters)();
  return static_cast<AAX_IEffectParameters*>(made);
}

/// An instance in use, and what a host does with it.
struct Instance : HostedInstance {
  Instance() : HostedInstance(effect(), 2) {}
  /// Filters of all kinds.
  void choose() {
    set(kB1SCLF, 1);
    set(bandParameterId(1, kB1State), 1);
    set(bandParameterId(1, kB1Type), 1);
    set(bandParameterId(1, kB1SubType), 2);
    set(bandParameterId(1, kB1Gain), -30);
    set(bandParameterId(1, kB1SCHF), 1);
  }
  /// What the host knows and what the effect would store.
  std::string state() const {
    std::string text = chunk(kState).data;
    for (int i = 0; i <= kNumParams; ++i) text += std::to_string(normalised(id(i))) + ' ';
    return text;
  }
  /// The answer of a host's call to take a chunk.
  AAX_Result take(const Shortage& shortage, AAX_CTypeID which, const std::string& data) {
    std::vector<char> bytes(kHead + data.size() + 1);
    auto* const record = reinterpret_cast<AAX_SPlugInChunk*>(bytes.data());
    record->fSize = static_cast<std::int32_t>(data.size());
    record->fChunkID = static_cast<std::int32_t>(which);
    std::memcpy(bytes.data() + kHead, data.data(), data.size());
    return shortage.under([&] { return parameters->SetChunk(which, record); });
  }
};

/// A success must be the `wanted` state, an error the `former` one.
std::string judge(AAX_Result result, const std::string& now, const std::string& wanted,
                  const std::string& former) {
  if (result == AAX_SUCCESS) return now == wanted ? "" : "success, and not done";
  return now == former ? "" : "an error, and something was done";
}

TEST(AaxMemory, Making) {
  const auto whole = [](AAX_IEffectParameters* parameters) {
    std::uint32_t size = 0;
    parameters->GetChunkSize(kState, &size);
    parameters->Release();
    return size;
  };
  walkMemory("create",
             [&] {
               return [whole, size = whole(make())](const Shortage& shortage) {
                 AAX_IEffectParameters* const made = shortage.under([] { return make(); });
                 return made == nullptr || whole(made) == size ? ""
                                                               : "an instance that is not whole";
               };
             },
             {.step = 11, .lastingStep = 17});
  walkMemory("initialise",
             [] {
               return [host = std::make_shared<InstanceHost>(AAX_eStemFormat_Stereo, 48000.0F),
                       parameters = make()](const Shortage& shortage) mutable {
                 const AAX_Result result = shortage.under([&] {
                   return parameters->Initialize(static_cast<AAX_IController*>(host.get()));
                 });
                 std::int32_t count = 0;
                 parameters->GetNumberOfParameters(&count);
                 if (result == AAX_SUCCESS) std::exchange(parameters, make())->Release();
                 return count == (result == AAX_SUCCESS ? kNumParams + 1 : 0) ? ""
                                                                              : "half initialised";
               };
             },
             {.lastingStep = 7});
  walkMemory("destroy", [] {
    return [](const Shortage& shortage) {
      Instance instance;
      shortage.under([&] { instance.close(); });
      return "";
    };
  });
}

TEST(AaxMemory, Chunks) {
  for (const AAX_CTypeID which : {kState, kControls}) {
    const int step = which == kState ? 1 : 17;
    walkMemory(which == kState ? "set the state" : "set the controls",
               [which]() -> Attempt {
                 auto instance = std::make_shared<Instance>();
                 const std::string formerData = instance->chunk(which).data;
                 const std::string former = instance->state();
                 instance->choose();
                 const std::string wantedData = instance->chunk(which).data;
                 const std::string wanted = instance->state();
                 return [=](const Shortage& shortage) {
                   instance->take({-1, false}, which, formerData);
                   const AAX_Result result = instance->take(shortage, which, wantedData);
                   return judge(result, instance->state(), wanted, former);
                 };
               },
               {.step = step, .lastingStep = step});
  }
  walkMemory("get the state", []() -> Attempt {
    auto instance = std::make_shared<Instance>();
    instance->choose();
    return [=, whole = instance->state(),
            room = std::vector<char>(1 << 20)](const Shortage& shortage) mutable -> std::string {
      instance->set(kIpTrim, 1.0);
      instance->set(kIpTrim, 0.0);
      auto* const record = reinterpret_cast<AAX_SPlugInChunk*>(room.data());
      const AAX_Result result = shortage.under([&] {
        std::uint32_t size = 0;
        const AAX_Result told = instance->parameters->GetChunkSize(kState, &size);
        return told == AAX_SUCCESS ? instance->parameters->GetChunk(kState, record) : told;
      });
      if (instance->state() != whole) return "the next one is another one";
      if (result != AAX_SUCCESS) return "";
      instance->parameters->SetChunk(kState, record);
      return instance->state() == whole ? "" : "success, and not whole";
    };
  });
}

/// The end of some long sound.
std::vector<float> played(Instance& instance) {
  Signal tone(2, std::vector<float>(16384, 0.2F));
  for (std::size_t i = 0; i < tone[0].size(); i += 64) {
    for (std::vector<float>& channel : tone)
      std::fill_n(channel.begin() + static_cast<std::ptrdiff_t>(i), 32, -0.2F);
  }
  const Signal heard = instance.render(tone);
  return {heard[0].end() - 64, heard[0].end()};
}

/// What `use` does to an instance under a shortage happens, in the end also to the sound, or it
/// is refused.
void walkUse(const std::string& phase, AAX_Result (*use)(Instance&, const Shortage&)) {
  walkMemory(phase, [use]() -> Attempt {
    const std::string former = Instance().state();
    Instance good;
    use(good, {-1, false});
    const std::vector<float> sound = played(good);
    return [=, wanted = good.state()](const Shortage& shortage) {
      Instance instance;
      const AAX_Result result = use(instance, shortage);
      std::string wrong = judge(result, instance.state(), wanted, former);
      const auto isNear = [](float x, float y) { return std::abs(x - y) < 1e-5F; };
      for (int i = 0; wrong.empty() && result == AAX_SUCCESS; ++i) {
        if (std::ranges::equal(played(instance), sound, isNear)) break;
        if (i == 100) wrong = "the sound never came";
        usleep(10'000);
      }
      return wrong;
    };
  });
}

TEST(AaxMemory, Playing) {
  walkUse("set a parameter", [](Instance& instance, const Shortage& shortage) {
    const std::string id = instance.id(kB1SCLF);
    return shortage.under([&] { return instance.update(id, 1.0); });
  });
  walkUse("notify", [](Instance& instance, const Shortage& shortage) {
    const std::string name(200, 'x');
    shortage.under([&] { instance.notify(AAX_eNotificationEvent_TrackNameChanged, name); });
    return AAX_SUCCESS;
  });
  walkUse("begin to render offline", [](Instance& instance, const Shortage& shortage) {
    Signal in(2, std::vector<float>(512));
    Signal out = in;
    static_cast<void>(instance.render(in));
    instance.choose();
    instance.notify(AAX_eNotificationEvent_EnteringOfflineMode);
    instance.prepareBlock(in, out, 0, 512);
    void* const one = instance.context();
    shortage.under([&] { instance.proc(&one, &one + 1); });
    return AAX_SUCCESS;
  });
}

}  // namespace
