#pragma once

#include <array>
#include <vector>

#include "core/plug.h"
#include "tests/aax_host/hosted_instance.h"

/// The effect without the bridge, driven as the bridge has to drive it.
class Reference : public Plug {
 public:
  explicit Reference(bool offline = false);

  void set(int index, double plain);
  /// As `HostedInstance::render`; in the end `reductions` are those of the last block.
  Signal render(Signal in, int channels);
  /// The plain values in the present state of an instance; throws std::runtime_error without one.
  std::vector<float> valuesOf(const HostedInstance& instance);

  std::array<double, 2> reductions{};
};

/// Noise in -0.5..0.5, the channels different.
[[nodiscard]] Signal noise(int channels, int frames, unsigned seed = 1);

struct PlainSetting {
  int index;
  double plain;
};
/// Two bands that work hard on `noise`; `source` is the first one's `kB1SCSrc`.
[[nodiscard]] std::vector<PlainSetting> busySettings(int source = 1);

/// Until effects that a timer idles have taken all of their settings.
void waitForIdle();
