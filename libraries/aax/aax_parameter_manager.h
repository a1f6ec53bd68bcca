#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "libraries/aax/aax_parameter.h"

/// The parameters of an instance, in order and by identifier.
/// Threads: they are added and removed on one thread while no other looks.
class AAX_CParameterManager {
 public:
  /// `delegate` hears of the parameters that come and go; kept by address.
  explicit AAX_CParameterManager(const SharedAcfReference<AAX_IAutomationDelegate>& delegate)
      : automation(delegate) {}

  /// Registers it with the host, too. An identifier that is there already is refused.
  AAX_Result AddParameter(std::unique_ptr<AAX_IParameter> parameter);
  /// Tells the host that none of them is to be automated any more; they stay.
  void UnregisterParameters() const;
  void RemoveAllParameters() noexcept;

  [[nodiscard]] std::int32_t NumParameters() const noexcept {
    return static_cast<std::int32_t>(parameters.size());
  }
  // Null, and -1, for what is not there.
  [[nodiscard]] AAX_IParameter* GetParameter(std::int32_t index) const noexcept;
  [[nodiscard]] AAX_IParameter* GetParameterByID(AAX_CParamID id) const noexcept;
  [[nodiscard]] std::int32_t GetParameterIndex(AAX_CParamID id) const noexcept;

 private:
  const SharedAcfReference<AAX_IAutomationDelegate>& automation;
  std::vector<std::unique_ptr<AAX_IParameter>> parameters;
  std::map<std::string_view, std::int32_t> indices;  // keys live in the parameters
};
