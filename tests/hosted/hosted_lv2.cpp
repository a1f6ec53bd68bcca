#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "platform/shared_library.h"
#include "tests/hosted/hosted.h"
#include "tests/lv2_wrap/lv2_rig.h"

namespace {

struct Loaded {
  Loaded() { library.find(find, "lv2_descriptor"); }
  const SharedLibrary library{copyAlone(CORVANTHELIS_LV2)};
  const LV2_Descriptor* (*find)(std::uint32_t) = nullptr;
};

std::optional<Loaded>& loaded() {
  static std::optional<Loaded> library;
  if (!library) library.emplace();
  return library;
}

const lv2::PortLayout& layoutOf(const HostSetup& setup) {
  if (setup.channels == 1) return lv2::kPlugins[2];
  return lv2::kPlugins[setup.hasSidechain ? 0 : 1];
}

class HostedLv2 final : public Hosted {
 public:
  explicit HostedLv2(const HostSetup& setup)
      : inPlace(setup.inPlace),
        rate(setup.rate),
        rig(layoutOf(setup), setup.rate, Lv2Rig::kWorker, {}, loaded()->find) {
    for (std::size_t c = 0; inPlace && c < channels(); ++c) {
      rig.connect(rig.layout.output(static_cast<int>(c)), rig.in[c].data());
    }
  }

  Signal render(Signal in) override {
    Signal out(channels());
    for (int c = 0; c < rig.layout.sideChannels; ++c) {
      const bool isFed = in.size() > channels() + static_cast<std::size_t>(c);
      rig.connect(rig.layout.sidechain(c),
                  isFed ? rig.side[static_cast<std::size_t>(c)].data() : nullptr);
    }
    std::size_t turn = 0;
    for (std::size_t at = 0, count = 0; at < in[0].size(); at += count) {
      constexpr std::array<std::size_t, 8> kLengths = {512, 1, 63, 1024, 0, 1025, 7777, 64};
      count = std::min(kLengths[turn++ % kLengths.size()], in[0].size() - at);
      for (std::size_t c = 0; c < in.size(); ++c) {
        auto& port = c < channels() ? rig.in[c] : rig.side[c - channels()];
        std::copy_n(in[c].begin() + static_cast<std::ptrdiff_t>(at), count, port.begin());
      }
      rig.run(static_cast<std::uint32_t>(count));
      for (std::size_t c = 0; c < channels(); ++c) {
        const auto& port = inPlace ? rig.in[c] : rig.out[c];
        out[c].insert(out[c].end(), port.begin(),
                      port.begin() + static_cast<std::ptrdiff_t>(count));
        const auto bytes = inPlace ? 0 : count * sizeof(float);
        EXPECT_EQ(std::memcmp(rig.in[c].data(), in[c].data() + at, bytes), 0) << "the host's own";
      }
    }
    return out;
  }
  void move(const Settings& settings) override {
    if (isOffline) runSilence(kLead);
    for (const auto& [id, plain] : settings) rig.parameter(id) = static_cast<float>(plain);
    if (!isOffline) runSilence(kLead);
  }
  void setBypass(bool on) override {
    rig.control(rig.layout.enabled()) = on ? 0.0F : 1.0F;
    runSilence(kLead);
  }
  void setOffline(bool on) override {
    rig.control(rig.layout.freewheel()) = on ? 1.0F : 0.0F;
    const RealTimeCheck::Exception mayLeave;
    runSilence(64);
    isOffline = on;
  }
  void turn(int controller, int position) override {
    rig.midi.push_back(
        {0xB0, static_cast<std::uint8_t>(controller), static_cast<std::uint8_t>(position)});
    runSilence(64);
  }
  std::vector<Told> takeTold() override {
    rig.run(0);
    std::vector<Told> told;
    for (const auto& [id, plain] : rig.requests) told.push_back({id, static_cast<double>(plain)});
    rig.requests.clear();
    rig.run(0);  // which sees the ports that have followed
    return told;
  }
  bool means(int /*id*/, double value, double plain) const override {
    return std::abs(value - plain) <= 1e-5 * std::max(1.0, std::abs(plain));
  }
  double shown(int id) override { return static_cast<double>(rig.parameter(id)); }
  int latency() override {
    rig.run(0);
    return rig.latency();
  }
  Session save() override {
    Session session;
    const StoredState stored = rig.save();
    for (const auto& [name, key] : kParts) {
      const auto& bytes = stored.values.at(UridMap::map(key)).bytes;
      session.parts[name].assign(bytes.begin(), bytes.end());
    }
    for (int id = 0; id < kNumParams; ++id) session.shown.push_back(shown(id));
    return session;
  }
  bool restore(const Session& session) override {
    StoredState stored;
    for (const auto& [name, key] : kParts) {
      const auto part = session.parts.find(name);
      if (part == session.parts.end()) continue;
      const bool isState = std::string_view(name) == kStatePart;
      stored.values[UridMap::map(key)] = {
          {part->second.begin(), part->second.end()},
          UridMap::map(isState ? LV2_ATOM__Chunk : LV2_ATOM__Vector)};
    }
    if (rig.restore(stored) != LV2_STATE_SUCCESS) return false;
    for (std::size_t id = 0; id < session.shown.size(); ++id) {
      rig.parameter(static_cast<int>(id)) = static_cast<float>(session.shown[id]);
    }
    // The plug-in waits a tenth of a second for them.
    for (double at = 0.0; at < rate * 0.15; at += kLead) runSilence(kLead);
    return true;
  }

 private:
  static constexpr std::pair<const char*, const char*> kParts[] = {{kStatePart, lv2::kChunkUri},
                                                                   {"ports", lv2::kPortValuesUri}};

  [[nodiscard]] std::size_t channels() const {
    return static_cast<std::size_t>(rig.layout.mainChannels);
  }
  void runSilence(std::uint32_t frames) {
    for (auto& channel : rig.in) std::fill(channel.begin(), channel.end(), 0.0F);
    for (auto& channel : rig.side) std::fill(channel.begin(), channel.end(), 0.0F);
    rig.run(frames);
    rig.work();
  }

  const bool inPlace;
  const double rate;
  bool isOffline = false;
  Lv2Rig rig;
};

}  // namespace

const HostKind kLv2Kind = {"LV2",
                           CORVANTHELIS_LV2,
                           false,
                           2,
                           0,
                           false,
                           [](const HostSetup& setup) -> std::unique_ptr<Hosted> {
                             return std::make_unique<HostedLv2>(setup);
                           },
                           [] { loaded().reset(); }};
