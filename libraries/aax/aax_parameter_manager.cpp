#include "libraries/aax/aax_parameter_manager.h"

#include <utility>

AAX_Result AAX_CParameterManager::AddParameter(std::unique_ptr<AAX_IParameter> parameter) {
  if (parameter == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  parameters.reserve(parameters.size() + 1);
  const bool isNew = indices.try_emplace(parameter->Identifier(), NumParameters()).second;
  if (!isNew) return AAX_ERROR_INVALID_PARAMETER_ID;
  parameter->SetAutomationDelegate(&automation);
  parameters.push_back(std::move(parameter));
  const auto delegate = automation.get();
  return delegate ? delegate->RegisterParameter(parameters.back()->Identifier()) : AAX_SUCCESS;
}

void AAX_CParameterManager::UnregisterParameters() const {
  const auto delegate = automation.get();
  if (!delegate) return;
  for (const auto& parameter : parameters) delegate->UnregisterParameter(parameter->Identifier());
}

void AAX_CParameterManager::RemoveAllParameters() noexcept {
  indices.clear();
  parameters.clear();
}

AAX_IParameter* AAX_CParameterManager::GetParameter(std::int32_t index) const noexcept {
  const bool isThere = index >= 0 && index < NumParameters();
  return isThere ? parameters[static_cast<std::size_t>(index)].get() : nullptr;
}

AAX_IParameter* AAX_CParameterManager::GetParameterByID(AAX_CParamID id) const noexcept {
  return GetParameter(GetParameterIndex(id));
}

std::int32_t AAX_CParameterManager::GetParameterIndex(AAX_CParamID id) const noexcept {
  if (id == nullptr) return -1;
  const auto found = indices.find(id);
  return found != indices.end() ? found->second : -1;
}
