#include "apps/command/curve_command.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <span>
#include <string>

#include "apps/effect/effect_runner.h"
#include "apps/effect/impulse_response.h"
#include "apps/output/failure.h"
#include "apps/output/json_output.h"
#include "apps/output/messages.h"
#include "apps/output/text.h"
#include "apps/render/loudness.h"
#include "state/json_document.h"

namespace {

constexpr double kLowestHz = 10.0;
constexpr double kHighestHz = 24000.0;
constexpr int kMostPoints = 16384;

std::vector<float> curveFrequencies(int points, double highest) {
  std::vector<float> frequencies;
  for (int i = 0; i < points; ++i) {
    const double share = static_cast<double>(i) / (points - 1);
    const double hertz = kLowestHz * std::pow(kHighestHz / kLowestHz, share);
    if (hertz <= highest) frequencies.push_back(static_cast<float>(hertz));
  }
  return frequencies;
}

/// Throws `Failure` if the signal does not pass through the band although its settings say so.
void checkInChain(Plug& plug, int band) {
  const std::string number = std::to_string(band + 1);
  if (plug.getPlainValue(bandParameterId(band, kB1State)) == 0.0F) {
    throw Failure("band " + number + " is off: turn it on with --set kB" + number + "State=1");
  }
  if (const auto fault = chainFault(plug, band)) throw Failure(*fault);
}

std::vector<double> drawnMagnitudes(Plug& plug, int band, std::span<const float> frequencies) {
  std::vector<float> magnitudes(frequencies.size());
  plug.getBandCurve(band, frequencies.data(), static_cast<int>(frequencies.size()),
                    magnitudes.data());
  return {magnitudes.begin(), magnitudes.end()};
}

std::vector<double> measuredMagnitudes(std::span<const double> response, double rate,
                                       std::span<const float> frequencies) {
  std::vector<double> magnitudes;
  magnitudes.reserve(frequencies.size());
  for (const float hertz : frequencies) {
    magnitudes.push_back(responseMagnitude(response, static_cast<double>(hertz) / rate));
  }
  return magnitudes;
}

CurveCommand::Curve curveOf(std::span<const float> frequencies,
                            std::span<const double> magnitudes) {
  CurveCommand::Curve curve;
  curve.reserve(frequencies.size());
  for (std::size_t i = 0; i < frequencies.size(); ++i) {
    curve.push_back({frequencies[i], 20.0 * std::log10(magnitudes[i])});
  }
  return curve;
}

std::string levelText(double level) {
  // + 0 turns -0 into 0.
  return shortestText(static_cast<float>(level) + 0.0F);
}

void printCurve(const CurveCommand::Curve& curve) {
  std::string text = "frequency,dB\n";
  for (const CurveCommand::Point& point : curve) {
    text += shortestText(point.frequency) + "," + levelText(point.level) + "\n";
  }
  std::cout << text;
}

void printImpulse(std::span<const double> response) {
  std::string text = "sample,value\n";
  for (std::size_t i = 0; i < response.size(); ++i) {
    text += std::to_string(i) + "," + shortestText(response[i] + 0.0) + "\n";
  }
  std::cout << text;
}

/// The number of a text; JSON null for an infinity.
JsonNode* numberJson(const std::string& text) {
  const auto number = finiteNumber(text);
  return number ? jsonCreateNumber(*number) : jsonParse("null");
}

JsonTree curveJson(const CurveCommand::Curve& curve) {
  JsonTree list(jsonCreateArray());
  for (const CurveCommand::Point& point : curve) {
    JsonTree entry(jsonCreateObject());
    addMember(entry, "frequency", numberJson(shortestText(point.frequency)));
    addMember(entry, "dB", numberJson(levelText(point.level)));
    jsonAddItemToArray(list.get(), entry.release());
  }
  return list;
}

}  // namespace

CurveCommand::CurveCommand(CLI::App& program)
    : app(addCommand(program, "curve", "Print the frequency response of a band")),
      state(app, false) {
  setFooter(app,
            "Examples:\n"
            "  corvanthelis curve --band 1 --set kB2State=1 --set kB2Frequency=4000\n"
            "  corvanthelis curve --band 2 --set kB2State=1 --set kB2Type=1 --set kB2SubType=3\n"
            "  corvanthelis curve --band 1 --set kB1Type=1 --measured --rate 96000 --points 2000\n"
            "  corvanthelis curve --band 1 --set kB1Type=1 --measured --impulse\n"
            "  corvanthelis curve --band 1 --preset De-esser");
  addOption(app, "--band", band, "The band, 1 to 8",
            {.type = "N", .isRequired = true, .range = {{1, kNumBands}}});
  addOption(app, "--points", points, "Frequencies from 10 to 24000 Hz",
            {.type = "N", .showsDefault = true, .range = {{2, kMostPoints}}});
  addOption(app, "--rate", rate, "Sample rate", {.type = "HZ", .showsDefault = true});
  CLI::Option* const asJson = addFlag(app, "--json", json, "Print the curve as JSON");
  CLI::Option* const fromAudio = addFlag(app, "--measured", measured,
                                         "Run an impulse through the effect with the band soloed");
  CLI::Option* const asImpulse =
      addFlag(app, "--impulse", impulse, "Print what comes out for the impulse, not its spectrum");
  require(asImpulse, fromAudio);
  exclude(asImpulse, asJson);
}

void CurveCommand::checkRate() const {
  const bool inRange = rate >= Loudness::kLowestRate && rate <= Loudness::kHighestRate;
  if (inRange && std::trunc(rate) == rate) return;
  throw WrongArguments("--rate: a whole number from " + std::to_string(Loudness::kLowestRate) +
                       " to " + std::to_string(Loudness::kHighestRate) + " Hz");
}

int CurveCommand::run() const {
  checkRate();
  std::vector<std::string> warnings;
  const EffectState wanted = state.read(warnings);
  HostedPlug plug(false);
  plug.setSampleRate(static_cast<float>(rate));
  applyState(plug, wanted);
  plug.resume();
  requireUpdate(plug);
  const int index = band - 1;
  checkInChain(plug, index);
  printWarnings(warnings);

  if (!measured) {
    const std::vector<float> frequencies = curveFrequencies(points, kHighestHz);
    print(plug, curveOf(frequencies, drawnMagnitudes(plug, index, frequencies)));
    return kDone;
  }
  const std::vector<double> response = soloedImpulseResponse(wanted, index, static_cast<int>(rate));
  if (impulse) {
    printImpulse(response);
    return kDone;
  }
  const std::vector<float> frequencies = curveFrequencies(points, rate / 2.0);
  print(plug, curveOf(frequencies, measuredMagnitudes(response, rate, frequencies)));
  return kDone;
}

void CurveCommand::print(Plug& plug, const Curve& curve) const {
  if (!json) {
    printCurve(curve);
    return;
  }
  const bool isCrossover = plug.getPlainValue(bandParameterId(band - 1, kB1Type)) == 0.0F;
  JsonTree object(jsonCreateObject());
  addMember(object, "band", jsonCreateNumber(band));
  addMember(object, "kind", jsonCreateString(isCrossover ? "crossover" : "dynamic EQ"));
  addMember(object, "rate", jsonCreateNumber(rate));
  addMember(object, "measured", jsonParse(measured ? "true" : "false"));
  addMember(object, "points", curveJson(curve).release());
  printJson(object.get());
}
