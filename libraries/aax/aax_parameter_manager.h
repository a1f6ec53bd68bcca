#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "libraries/aax/aax_parameter.h"

/// The parameters of an instance, in order and by identifier.
/// Threads: add and remove parameters on one thread while no other accesses them.
class AAX_CParameterManager {
 public:
  /// `delegate` is told of parameters added and removed; the reference is kept.
  explicit AAX_CParameterManager(const SharedAcfReference<AAX_IAutomationDelegate>& delegate)
      : automation(delegate) {}

  /// Adds a parameter and registers it with the host. Refuses an identifier that exists already.
  AAX_Result AddParameter(std::unique_ptr<AAX_IParameter> parameter);
  /// Unregisters all parameters from the host's automation, but keeps them.
  void UnregisterParameters() const;
  void RemoveAllParameters() noexcept;

  [[nodiscard]] std::int32_t NumParameters() const noexcept {
    return static_cast<std::int32_t>(parameters.size());
  }
  // Null or -1 if there is no such parameter.
  [[nodiscard]] AAX_IParameter* GetParameter(std::int32_t index) const noexcept;
  [[nodiscard]] AAX_IParameter* GetParameterByID(AAX_CParamID id) const noexcept;
  [[nodiscard]] std::int32_t GetParameterIndex(AAX_CParamID id) const noexcept;

 private:
  const SharedAcfReference<AAX_IAutomationDelegate>& automation;
  std::vector<std::unique_ptr<AAX_IParameter>> parameters;
  std::map<std::string_view, std::int32_t> indices;  // keys live in the parameters
};
