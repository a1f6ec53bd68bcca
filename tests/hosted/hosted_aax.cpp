#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "apps/aax_host/aax_session.h"
#include "apps/aax_host/parameter_facts.h"
#include "tests/hosted/hosted.h"
#include "tests/support/real_time.h"

namespace {

std::optional<AaxSession>& loaded() {
  static std::optional<AaxSession> session;
  if (!session) session.emplace(copyAlone(CORVANTHELIS_AAX));
  return session;
}

class HostedAax final : public Hosted {
 public:
  explicit HostedAax(const HostSetup& setup)
      : inPlace(setup.inPlace),
        instance(loaded()->effect(), setup.channels, static_cast<float>(setup.rate)) {
    instance.meters.fill(kUntouched);
  }

  Signal render(Signal in) override {
    if (!inPlace && isOffline) return instance.render(std::move(in));
    const auto main = static_cast<std::size_t>(instance.channels);
    Signal apart(main, std::vector<float>(in[0].size(), -1.0F));
    Signal& out = inPlace ? in : apart;
    HostedInstance::forBlocks(static_cast<int>(in[0].size()), [&](int at, int count) {
      instance.prepareBlock(in, out, at, count);
      void* const one = instance.context();
      inRealTime([&] { instance.proc(&one, &one + 1); });
    });
    out.resize(main);
    return out;
  }
  void move(const Settings& settings) override {
    static_cast<void>(render(silence(kLead)));
    for (const auto& [id, plain] : settings) instance.set(id, plain);
  }
  void settle() override { waitForIdle(); }
  void setBypass(bool on) override { instance.update("bypass", on ? 1.0 : 0.0); }
  void setOffline(bool on) override {
    instance.notify(on ? AAX_eNotificationEvent_EnteringOfflineMode
                       : AAX_eNotificationEvent_ExitingOfflineMode);
    isOffline = true;  // the block that meets it may leave real time
    static_cast<void>(render(silence(64)));
    isOffline = on;
  }
  void turn(int controller, int position) override {
    instance.packets = {
        {0,
         3,
         {0xb0, static_cast<std::uint8_t>(controller), static_cast<std::uint8_t>(position)},
         0}};
    static_cast<void>(render(silence(64)));
  }
  std::vector<Told> takeTold() override {
    std::vector<Told> told;
    for (const AutomationEvent& event : instance.host.takeEvents()) {
      std::int32_t index = -1;
      instance.parameters->GetParameterIndex(event.id.c_str(), &index);
      if (event.kind == 'P') told.push_back({index, event.normalised});
    }
    return told;
  }
  bool means(int id, double value, double plain) const override {
    const ParameterFacts facts(id);
    if (!facts.stepped) return std::abs(value - facts.hostValue(plain)) < 1e-6;
    const auto stepOf = [&](double x) { return std::lround(x * (facts.hostSteps - 1)); };
    return stepOf(value) == stepOf(facts.hostValue(plain));
  }
  double shown(int id) override { return instance.normalised(instance.id(id)); }
  int latency() override { return instance.host.latency(); }
  Session save() override {
    Session session;
    for (const auto& [name, id] : kChunks) {
      const StoredChunk chunk = instance.chunk(id);
      EXPECT_TRUE(chunk.result == AAX_SUCCESS && !chunk.overrun) << name;
      session.parts[name] = chunk.data;
    }
    return session;
  }
  bool restore(const Session& session) override {
    bool isTaken = true;
    for (const auto& [name, id] : kChunks) {
      const auto part = session.parts.find(name);
      if (part == session.parts.end()) continue;
      isTaken = instance.restore(id, part->second) == AAX_SUCCESS && isTaken;
    }
    return isTaken;
  }
  void expectMeters(const Reference& reference) override {
    const bool isStereo = instance.channels == 2;
    std::vector<double> expected(instance.meters.size(), static_cast<double>(kUntouched));
    for (int i = 0; i < 4; ++i)
      expected[static_cast<std::size_t>(i)] = reference.getOutputPeak(i % 2);
    for (std::size_t c = 0; isStereo && c < 2; ++c) expected[4 + c] = 1.0 - reference.reductions[c];
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_NEAR(static_cast<double>(instance.meters[i]), expected[i], 1e-6) << "meter " << i;
    }
  }

 private:
  static constexpr float kUntouched = 0.125F;
  static constexpr std::pair<const char*, AAX_CTypeID> kChunks[] = {
      {"controls", kAAX_ControlsChunkID}, {kStatePart, AAX_TypeID("CvnP")}};

  [[nodiscard]] Signal silence(int frames) const {
    return Signal(static_cast<std::size_t>(instance.channels),
                  std::vector<float>(static_cast<std::size_t>(frames)));
  }

  const bool inPlace;
  bool isOffline = false;
  HostedInstance instance;
};

}  // namespace

const HostKind kAaxKind = {"AAX",
                           CORVANTHELIS_AAX,
                           true,
                           1,
                           1,
                           true,
                           [](const HostSetup& setup) -> std::unique_ptr<Hosted> {
                             return std::make_unique<HostedAax>(setup);
                           },
                           [] {
                             auto& session = loaded();
                             EXPECT_EQ(session->library.canUnloadNow(session->host.unknown()),
                                       ACF_OK);
                             session.reset();
                           }};
