#pragma once

#include <cstdint>

#include "host/plug_base.h"
#include "libraries/aax/aax_parameter.h"

/// Texts of one parameter's values, as the effect writes them. The effect must outlive it.
class AAXWrap_DisplayDelegate final : public AAX_IDisplayDelegate<float> {
 public:
  AAXWrap_DisplayDelegate(const PlugBase& shownEffect, std::int32_t parameter) noexcept
      : effect(shownEffect), index(parameter) {}
  void ValueToString(float normalised, AAX_IString* text) const override;

 private:
  const PlugBase& effect;
  const std::int32_t index;
};
