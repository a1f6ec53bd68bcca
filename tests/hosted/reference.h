#pragma once

#include <array>
#include <string>
#include <vector>

#include "apps/aax_host/hosted_instance.h"
#include "core/plug.h"

struct PlainSetting {
  int id;
  double plain;
};
using Settings = std::vector<PlainSetting>;

/// The effect without an adapter, driven as adapters have to drive it.
class Reference : public Plug {
 public:
  explicit Reference(double rate = 48000.0);

  void set(const Settings& settings);
  /// `in`: main channels, then as many of the sidechain as there are. In the end `reductions` are
  /// those of the last block.
  Signal render(Signal in, int channels);
  /// Throws std::runtime_error for what is no state.
  void take(const std::string& state);
  /// Takes it; the plain values of a bank, or of the live one.
  std::vector<float> valuesOf(const std::string& state, int bank = -1);
  std::vector<float> valuesOf(const HostedInstance& instance);

  std::array<double, 2> reductions{1.0, 1.0};
  bool isOffline = false;
};

[[nodiscard]] Signal silence(int channels, int frames);

/// Noise in -0.5..0.5; the right is another and 12 dB below.
[[nodiscard]] Signal noise(int channels, int frames, unsigned seed = 1);

/// "kIpTrim=-6 kB1Knee=20", in that order.
[[nodiscard]] Settings settingsOf(const std::string& text);

/// Bands of both kinds that work hard on `noise`, each channel for itself; `source` is the first
/// one's `kB1SCSrc`: 1 its own signal, 2 the sidechain.
[[nodiscard]] Settings busySettings(int source = 1);

/// Where two signals are further apart than `error`, at 0 where their bits differ; "" if nowhere.
[[nodiscard]] std::string firstDifference(const Signal& actual, const Signal& expected,
                                          double error = 0.0);

/// `in` as late as `delay`.
[[nodiscard]] Signal delayed(const Signal& in, int delay);

/// Until effects that a timer idles have taken all of their settings.
void waitForIdle();
