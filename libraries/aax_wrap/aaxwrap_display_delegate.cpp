#include "libraries/aax_wrap/aaxwrap_display_delegate.h"

#include <array>

void AAXWrap_DisplayDelegate::ValueToString(float normalised, AAX_IString* text) const {
  std::array<char, PlugBase::kParameterTextCapacity> shown{};
  effect.formatParameterValue(index, normalised, shown.data(), false);
  text->Set(shown.data());
}
