#include "editor/meter_elements.h"

#include <string>
#include <utility>

#include "graphs/meters/gain_meters.h"
#include "graphs/meters/meter_texts.h"
#include "graphs/meters/vu.h"
#include "toolkit/look.h"

CView* makeMainMeter(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return new nTTVU(setup);
}

CView* makePlainMeter(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return new nVU(setup);
}

CView* makeReductionMeter(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return new miniGRmeter(setup);
}

CView* makeClipMeter(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return new clipGRmeter(setup);
}

CView* makeLoudnessMeter(const LayoutElement& element, const ElementSetup& setup) {
  const bool takesOther = elementNumber(element, "scale") != 0;
  std::string unit = elementText(element, takesOther ? "text2" : "text");
  if (unit.empty()) unit = takesOther ? "LKFS" : "LUFS";
  const bool isRight = elementText(element, "align") == "right";
  return new loudnessMeterView(
      setup, std::move(unit),
      look::bold(look::kTextSize, look::kText, isRight ? kRightText : kLeftText));
}

CView* makeReleaseLamp(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return new ReleaseLED(setup, setup.values);
}
