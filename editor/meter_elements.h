#pragma once

#include "editor/element_row.h"

// What makes the meters that layouts may name. Threads: as `CView`.

[[nodiscard]] CView* makeMainMeter(const LayoutElement& element, const ElementSetup& setup);
[[nodiscard]] CView* makePlainMeter(const LayoutElement& element, const ElementSetup& setup);
[[nodiscard]] CView* makeReductionMeter(const LayoutElement& element, const ElementSetup& setup);
[[nodiscard]] CView* makeClipMeter(const LayoutElement& element, const ElementSetup& setup);
/// "text" is the unit, "text2" the other one, which a "scale" other than 0 chooses.
[[nodiscard]] CView* makeLoudnessMeter(const LayoutElement& element, const ElementSetup& setup);
[[nodiscard]] CView* makeReleaseLamp(const LayoutElement& element, const ElementSetup& setup);
