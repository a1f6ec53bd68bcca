#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>

#include "tests/aax_host/checks.h"
#include "tests/aax_host/hosted_instance.h"
#include "tests/aax_host/parameter_facts.h"
#include "tests/aax_host/reference.h"

namespace {

constexpr double kFloatError = 1e-7;  // of a 32-bit number in 0..1

struct Description {
  std::string name;
  std::int32_t steps = 0;
  AAX_EParameterType type = AAX_eParameterType_Continuous;
  double standard = 0.0;
};

void checkOne(const HostedInstance& instance, int index, const std::string& expectedId,
              const Description& expected, Faults& faults) {
  const AAX_IEffectParameters& parameters = *instance.parameters;
  const std::string id = instance.id(index);
  const std::string which = expected.name + ": ";
  HostString name;
  std::int32_t found = -1;
  Description told;
  parameters.GetParameterIndex(id.c_str(), &found);
  parameters.GetParameterName(id.c_str(), &name);
  parameters.GetParameterNumberOfSteps(id.c_str(), &told.steps);
  parameters.GetParameterType(id.c_str(), &told.type);
  parameters.GetParameterDefaultNormalizedValue(id.c_str(), &told.standard);
  faults.equal(id, expectedId, which + "the identifier");
  faults.equal(found, index, which + "the index");
  faults.equal(name.text, expected.name, which + "the name");
  faults.equal(told.steps, expected.steps, which + "the number of steps");
  faults.equal(told.type, expected.type, which + "the type");
  faults.expect(std::abs(told.standard - expected.standard) < kFloatError, which + "default");
  faults.equal(instance.normalised(id), told.standard, which + "the value at the start");
  const auto registered = instance.host.registrations.find(id);
  faults.expect(registered != instance.host.registrations.end() && registered->second == 1,
                which + "not registered with the automation once");
}

void checkTable(const Bench& bench, Faults& faults) {
  const HostedInstance instance(bench.effect, 2);
  std::int32_t count = 0;
  instance.parameters->GetNumberOfParameters(&count);
  faults.equal(count, kNumParams + 1, "the number of parameters");
  for (int i = 0; i < kNumParams; ++i) {
    const ParameterFacts facts(i);
    const auto type = facts.stepped ? AAX_eParameterType_Discrete : AAX_eParameterType_Continuous;
    const double standard = facts.toldValue(static_cast<double>(facts.record.value));
    checkOne(instance, i, facts.id, {facts.record.name, facts.hostSteps, type, standard}, faults);
  }
  checkOne(instance, kNumParams, "bypass", {"Master Bypass", 2, AAX_eParameterType_Discrete, 0.0},
           faults);
}

void checkTexts(const Bench& bench, Faults& faults) {
  const HostedInstance instance(bench.effect, 2);
  const Reference reference;
  HostString text;
  for (int i = 0; i < kNumParams; ++i) {
    const ParameterFacts facts(i);
    const double standard = facts.toldValue(static_cast<double>(facts.record.value));
    for (const double normalised : {0.0, 0.2, 0.5, 0.77, 1.0, standard}) {
      std::array<char, Reference::kParameterTextCapacity> expected{};
      reference.formatParameterValue(i, static_cast<float>(normalised), expected.data(), false);
      instance.parameters->GetParameterStringFromValue(facts.id.c_str(), normalised, &text);
      faults.equal(text.text, std::string(expected.data()),
                   facts.record.name + (" at " + std::to_string(normalised)));
    }
  }
  instance.parameters->GetParameterStringFromValue("bypass", 1.0, &text);
  faults.equal(text.text, "on", "the text of the bypass");
}

/// Every host step, of many parameters at once; what the effect made of them is read from its
/// state.
void checkSteps(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  Reference reader;
  std::vector<ParameterFacts> swept;
  int mostSteps = 0;
  for (int i = 0; i < kABBank; ++i) {  // without the selector of banks: it exchanges the others
    if (!ParameterFacts(i).stepped) continue;
    swept.emplace_back(i);
    mostSteps = std::max(mostSteps, swept.back().hostSteps);
  }
  for (int step = 0; step < mostSteps; ++step) {
    for (const ParameterFacts& facts : swept) {
      if (step < facts.hostSteps) instance.update(facts.id, facts.normalisedOfStep(step));
    }
    const std::vector<float> plain = reader.valuesOf(instance);
    for (const ParameterFacts& facts : swept) {
      if (step >= facts.hostSteps) continue;
      faults.equal(static_cast<double>(plain[static_cast<std::size_t>(facts.index)]),
                   facts.plainOfStep(step),
                   facts.record.name + (" at host step " + std::to_string(step)));
    }
  }
  for (const ParameterFacts& facts : swept) {
    const auto standard = static_cast<double>(facts.record.value);
    instance.update(facts.id, facts.toldValue(standard));
  }
  const std::vector<float> plain = reader.valuesOf(instance);
  for (const ParameterFacts& facts : swept) {
    faults.equal(plain[static_cast<std::size_t>(facts.index)], facts.record.value,
                 std::string(facts.record.name) + " at its default");
  }
}

/// Expects that the instance framed and told each parameter but the selector of banks once, with
/// the values of `plain`, else the defaults.
void expectAllTold(HostedInstance& instance, const std::vector<PlainSetting>& plain,
                   const std::string& when, Faults& faults) {
  std::map<std::string, std::string> kinds;
  std::map<std::string, double> values;
  for (const AutomationEvent& event : instance.host.takeEvents()) {
    kinds[event.id] += event.kind;
    if (event.kind == 'P') values[event.id] = event.normalised;
  }
  for (int i = 0; i < kABBank; ++i) {
    const ParameterFacts facts(i);
    const std::string which = when + ": " + facts.record.name;
    const auto set = std::ranges::find(plain, i, &PlainSetting::index);
    const bool isSet = set != plain.end();
    const double expected =
        facts.toldValue(isSet ? set->plain : static_cast<double>(facts.record.value));
    faults.equal(kinds[facts.id], "TPR", which + ": the order of events");
    faults.expect(std::abs(values[facts.id] - expected) < kFloatError, which + " is told wrong");
    faults.equal(instance.normalised(facts.id), values[facts.id], which + ": the value");
  }
}

void checkAutomationFromEffect(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  Reference reader;
  const std::vector<PlainSetting> settings = busySettings();
  for (const auto& [index, plain] : settings) instance.set(index, plain);
  const std::vector<float> before = reader.valuesOf(instance);
  faults.expect(instance.host.takeEvents().empty(), "the host's own values are told to it");
  instance.set(kABBank, 1.0);  // another bank tells all of its values
  expectAllTold(instance, {}, "bank B", faults);
  instance.set(kABBank, 0.0);
  expectAllTold(instance, settings, "bank A", faults);
  faults.expect(reader.valuesOf(instance) == before, "values do not survive the host's echo");
}

void checkAutomationFromHost(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  const std::string id = instance.id(kOpTrim);
  std::int32_t before = 0;
  std::int32_t after = 0;
  instance.parameters->GetNumberOfChanges(&before);
  instance.parameters->TouchParameter(id.c_str());
  instance.parameters->SetParameterNormalizedValue(id.c_str(), 0.75);
  instance.parameters->ReleaseParameter(id.c_str());
  instance.parameters->GetNumberOfChanges(&after);
  std::string kinds;
  for (const AutomationEvent& event : instance.host.takeEvents()) kinds += event.id + event.kind;
  faults.equal(kinds, id + "T" + id + "P" + id + "R", "the order of events");
  faults.expect(after > before, "the change is not counted");
  faults.equal(instance.normalised(id), 0.75, "the value set");
  for (const auto& [given, kept] : {std::pair{7.0, 1.0}, {-7.0, 0.0}}) {
    instance.update(id, given);
    faults.equal(instance.normalised(id), kept, "the value set to " + std::to_string(given));
  }
  instance.update(id, std::numeric_limits<double>::quiet_NaN());
  faults.equal(instance.normalised(id), 0.0, "the value set to no number");
}

void checkUnknown(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  AAX_IEffectParameters& p = *instance.parameters;
  HostString text;
  double number = 0.0;
  std::int32_t whole = 0;
  AAX_EParameterType type{};
  for (const char* id : {"nobody", "bypas", "Bypass", static_cast<const char*>(nullptr)}) {
    const std::pair<const char*, AAX_Result> results[] = {
        {"update", p.UpdateParameterNormalizedValue(id, 0.5, AAX_eUpdateSource_Unspecified)},
        {"set", p.SetParameterNormalizedValue(id, 0.5)},
        {"touch", p.TouchParameter(id)},
        {"release", p.ReleaseParameter(id)},
        {"value", p.GetParameterNormalizedValue(id, &number)},
        {"index", p.GetParameterIndex(id, &whole)},
        {"name", p.GetParameterName(id, &text)},
        {"steps", p.GetParameterNumberOfSteps(id, &whole)},
        {"type", p.GetParameterType(id, &type)},
        {"default", p.GetParameterDefaultNormalizedValue(id, &number)},
        {"text", p.GetParameterStringFromValue(id, 0.5, &text)}};
    for (const auto& [call, result] : results) {
      faults.equal(result, AAX_ERROR_INVALID_PARAMETER_ID,
                   std::string(call) + " of " + (id != nullptr ? id : "a null identifier"));
    }
  }
  for (const int index : {-1, kNumParams + 1}) {
    faults.expect(p.GetParameterIDFromIndex(index, &text) != AAX_SUCCESS, "index out of range");
  }
}

constexpr Check kChecks[] = {{"parameters.table", &checkTable},
                             {"parameters.texts", &checkTexts},
                             {"parameters.steps", &checkSteps},
                             {"parameters.automation of the effect", &checkAutomationFromEffect},
                             {"parameters.automation of the host", &checkAutomationFromHost},
                             {"parameters.unknown", &checkUnknown}};

}  // namespace

std::span<const Check> parameterChecks() { return kChecks; }
