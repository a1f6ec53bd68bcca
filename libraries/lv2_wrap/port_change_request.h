#pragma once

#include <cstdint>

/// An extension that some hosts support: the plug-in asks the host to change one of its own input
/// ports, which it must not write itself. Called within `run`.
namespace lv2 {

inline constexpr const char* kPortChangeRequestUri =
    "http://kx.studio/ns/lv2ext/control-input-port-change-request";

enum PortChangeStatus : int {
  kPortChangeSuccess = 0,
  kPortChangeUnknownError = 1,
  kPortChangeInvalidIndex = 2,
};

struct PortChangeRequest {
  void* handle;
  PortChangeStatus (*requestChange)(void* handle, std::uint32_t port, float value);
};

}  // namespace lv2
