// The functions that the library exports.

#include <cstdint>

#include "libraries/aax/aax_descriptors.h"
#include "libraries/aax/aax_guard.h"
#include "libraries/aax/aax_host_services.h"
#include "libraries/aax/acf.h"
#include "libraries/aax/acf_reference.h"
#include "libraries/aax_wrap/aaxwrap_describe.h"
#include "libraries/aax_wrap/aaxwrap_parameters.h"

namespace {

ACFRESULT registerPlugin(IACFUnknown& host, IACFPluginDefinition*& definition) {
  AAX_CHostServices::Set(&host);
  const auto factory = acfQuery<IACFComponentFactory>(&host, IID_IACFComponentFactory);
  if (!factory) return ACF_E_UNEXPECTED;
  void* made = nullptr;
  const ACFRESULT result =
      factory->CreateInstance(AAXCompID_AAXCollection, nullptr, IID_AAX_ICollection, &made);
  if (result != ACF_OK || made == nullptr) return ACF_E_UNEXPECTED;
  auto* const collection = static_cast<AAX_ICollection*>(made);
  auto held = AcfReference<AAX_ICollection>::adopt(collection);
  const AAX_Result described = aaxDescribe(*collection);
  if (described != AAX_SUCCESS) return described;
  definition = held.detach();
  return ACF_OK;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

/// Describes the library in a collection made by the host, and returns that.
ACFRESULT ACFRegisterPlugin(IACFUnknown* host, IACFPluginDefinition** definition) {
  if (definition == nullptr) return ACF_E_POINTER;
  *definition = nullptr;
  if (host == nullptr) return ACF_E_UNEXPECTED;
  return aaxGuarded([&] { return registerPlugin(*host, *definition); });
}

/// The library has no further components.
ACFRESULT ACFRegisterComponent(IACFUnknown* /*host*/, std::uint32_t /*index*/,
                               IACFComponentDefinition** definition) {
  if (definition != nullptr) *definition = nullptr;
  return ACF_OK;
}

/// The library has no classes by number: instances come from the registered function.
ACFRESULT ACFGetClassFactory(IACFUnknown* /*host*/, const acfCLSID& /*classId*/,
                             const acfIID& /*iid*/, void** object) {
  if (object == nullptr) return ACF_E_POINTER;
  *object = nullptr;
  return ACF_E_NOINTERFACE;
}

ACFRESULT ACFCanUnloadNow(IACFUnknown* /*host*/) {
  return AAXWrap_Parameters::liveInstances() == 0 ? ACF_OK : ACF_FALSE;
}

ACFRESULT ACFStartup(IACFUnknown* /*host*/) { return ACF_OK; }

ACFRESULT ACFShutdown(IACFUnknown* /*host*/) {
  AAX_CHostServices::Set(nullptr);
  return ACF_OK;
}

/// The version of the interface that the library was built for.
ACFRESULT ACFGetSDKVersion(std::uint64_t* version) {
  if (version == nullptr) return ACF_E_POINTER;
  *version = kAcfSdkVersion;
  return ACF_OK;
}

}  // extern "C"
#pragma GCC visibility pop
