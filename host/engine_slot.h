#pragma once

#include "host/engine_link.h"
#include "host/parameter_input.h"

/// Forwards to an engine that is made later. Until `connect`, calls do nothing.
/// Threads: `connect` before any other thread uses it.
class EngineSlot final : public EngineLink {
 public:
  void connect(EngineLink& link) noexcept { engine = &link; }

  void parameterChanged(std::int32_t index) noexcept override {
    if (engine != nullptr) engine->parameterChanged(index);
  }
  void update(bool force) override {
    if (engine != nullptr) engine->update(force);
  }
  void everythingReplaced() noexcept override {
    if (engine != nullptr) engine->everythingReplaced();
  }
  void hold() override {
    if (engine != nullptr) engine->hold();
  }
  void release() override {
    if (engine != nullptr) engine->release();
  }

 private:
  EngineLink* engine = nullptr;
};

/// Forwards to rules that are made later. Until `connect`, each parameter is its own only target.
class RulesSlot final : public ParameterRules {
 public:
  void connect(const ParameterRules& wanted) noexcept { rules = &wanted; }

  [[nodiscard]] ParameterTargets targetsOf(std::int32_t index) const noexcept override {
    if (rules != nullptr) return rules->targetsOf(index);
    ParameterTargets alone;
    alone.add(index);
    return alone;
  }

 private:
  const ParameterRules* rules = nullptr;
};
