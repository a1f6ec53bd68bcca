#pragma once

#include <array>
#include <cstdint>

// The component framework of the AAX interface: reference-counted objects that provide their
// interfaces by number, and the functions that a plug-in library exports.
//
// Only the declarations that the adapter needs, under their published names, so that the platform's
// own headers can replace this one.

using ACFRESULT = std::int32_t;
inline constexpr ACFRESULT ACF_OK = 0;
inline constexpr ACFRESULT ACF_FALSE = 1;
inline constexpr auto ACF_E_NOINTERFACE = static_cast<ACFRESULT>(0x80004002U);
inline constexpr auto ACF_E_POINTER = static_cast<ACFRESULT>(0x80004003U);
inline constexpr auto ACF_E_UNEXPECTED = static_cast<ACFRESULT>(0x8000ffffU);

/// Number of an interface or a class.
struct acfUID {
  std::array<std::uint32_t, 4> words;
  bool operator==(const acfUID&) const = default;
};
using acfIID = acfUID;
using acfCLSID = acfUID;

/// Objects live while their reference count is above 0. Whoever gets a pointer through an out
/// parameter owns a reference and must release it.
class IACFUnknown {
 public:
  /// For an interface that the object lacks, `*object` is null and the result `ACF_E_NOINTERFACE`.
  virtual ACFRESULT QueryInterface(const acfIID& iid, void** object) = 0;
  virtual std::uint32_t AddRef() = 0;
  virtual std::uint32_t Release() = 0;

 protected:
  ~IACFUnknown() = default;
};

/// What `ACFRegisterPlugin` returns to the host.
class IACFPluginDefinition : public IACFUnknown {
 protected:
  ~IACFPluginDefinition() = default;
};

class IACFComponentDefinition : public IACFUnknown {
 protected:
  ~IACFComponentDefinition() = default;
};

/// Makes the host's objects; provided by the host's own unknown.
class IACFComponentFactory : public IACFUnknown {
 public:
  virtual ACFRESULT CreateInstance(const acfCLSID& classId, IACFUnknown* outer, const acfIID& iid,
                                   void** object) = 0;

 protected:
  ~IACFComponentFactory() = default;
};

inline constexpr acfIID IID_IACFUnknown = {{0x00000000, 0x00000000, 0x000000c0, 0x46000000}};
inline constexpr acfIID IID_IACFComponentFactory = {
    {0x48564b41, 0x43460001, 0x8c1f6a52, 0x5d3e9b70}};

// The exported functions, which a host finds by name.
using ACFRegisterPluginProc = ACFRESULT (*)(IACFUnknown* host, IACFPluginDefinition** definition);
using ACFRegisterComponentProc = ACFRESULT (*)(IACFUnknown* host, std::uint32_t index,
                                               IACFComponentDefinition** definition);
using ACFGetClassFactoryProc = ACFRESULT (*)(IACFUnknown* host, const acfCLSID& classId,
                                             const acfIID& iid, void** object);
using ACFCanUnloadNowProc = ACFRESULT (*)(IACFUnknown* host);
using ACFStartupProc = ACFRESULT (*)(IACFUnknown* host);
using ACFShutdownProc = ACFRESULT (*)(IACFUnknown* host);
using ACFGetSDKVersionProc = ACFRESULT (*)(std::uint64_t* version);

/// Version of the interface declared here: version in the upper half, revision in the lower.
inline constexpr std::uint64_t kAcfSdkVersion = std::uint64_t{0x0200} << 32;
