#include <algorithm>
#include <array>
#include <limits>
#include <map>

#include "tests/aax_host/loaded_plugin.h"
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
              const Description& expected) {
  SCOPED_TRACE(expected.name);
  const AAX_IEffectParameters& parameters = *instance.parameters;
  const std::string id = instance.id(index);
  HostString name;
  std::int32_t found = -1;
  Description told;
  parameters.GetParameterIndex(id.c_str(), &found);
  parameters.GetParameterName(id.c_str(), &name);
  parameters.GetParameterNumberOfSteps(id.c_str(), &told.steps);
  parameters.GetParameterType(id.c_str(), &told.type);
  parameters.GetParameterDefaultNormalizedValue(id.c_str(), &told.standard);
  EXPECT_EQ(id, expectedId);
  EXPECT_EQ(found, index);
  EXPECT_EQ(name.text, expected.name);
  EXPECT_EQ(told.steps, expected.steps);
  EXPECT_EQ(told.type, expected.type);
  EXPECT_NEAR(told.standard, expected.standard, kFloatError);
  EXPECT_EQ(instance.normalised(id), told.standard) << "at the start";
  EXPECT_EQ(instance.host.registrations.at(id), 1);
}

TEST_F(LoadedPlugin, ParametersAreThoseOfTheTable) {
  const HostedInstance instance(effect(), 2);
  std::int32_t count = 0;
  instance.parameters->GetNumberOfParameters(&count);
  EXPECT_EQ(count, kNumParams + 1);
  for (int i = 0; i < kNumParams; ++i) {
    const ParameterFacts facts(i);
    const auto type = facts.stepped ? AAX_eParameterType_Discrete : AAX_eParameterType_Continuous;
    const double standard = facts.toldValue(static_cast<double>(facts.record.value));
    checkOne(instance, i, facts.id, {facts.record.name, facts.hostSteps, type, standard});
  }
  checkOne(instance, kNumParams, "bypass", {"Master Bypass", 2, AAX_eParameterType_Discrete, 0.0});
}

TEST_F(LoadedPlugin, ParameterTextsAreThoseOfTheEffect) {
  const HostedInstance instance(effect(), 2);
  const Reference reference;
  HostString text;
  for (int i = 0; i < kNumParams; ++i) {
    const ParameterFacts facts(i);
    const double standard = facts.toldValue(static_cast<double>(facts.record.value));
    for (const double normalised : {0.0, 0.2, 0.5, 0.77, 1.0, standard}) {
      std::array<char, Reference::kParameterTextCapacity> expected{};
      reference.formatParameterValue(i, static_cast<float>(normalised), expected.data(), false);
      instance.parameters->GetParameterStringFromValue(facts.id.c_str(), normalised, &text);
      EXPECT_EQ(text.text, expected.data()) << facts.record.name << " at " << normalised;
    }
  }
  instance.parameters->GetParameterStringFromValue("bypass", 1.0, &text);
  EXPECT_EQ(text.text, "on");
}

/// Every host step, of many parameters at once; what the effect made of them is read from its
/// state.
TEST_F(LoadedPlugin, HostStepsReachTheirPlainValues) {
  HostedInstance instance(effect(), 2);
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
      EXPECT_EQ(plain[static_cast<std::size_t>(facts.index)], facts.plainOfStep(step))
          << facts.record.name << " at host step " << step;
    }
  }
  for (const ParameterFacts& facts : swept) {
    const auto standard = static_cast<double>(facts.record.value);
    instance.update(facts.id, facts.toldValue(standard));
  }
  const std::vector<float> plain = reader.valuesOf(instance);
  for (const ParameterFacts& facts : swept) {
    EXPECT_EQ(plain[static_cast<std::size_t>(facts.index)], facts.record.value)
        << facts.record.name;
  }
}

/// Expects that the instance framed and told each parameter but the selector of banks once, with
/// the values of `plain`, else the defaults.
void expectAllTold(HostedInstance& instance, const std::vector<PlainSetting>& plain) {
  std::map<std::string, std::string> kinds;
  std::map<std::string, double> values;
  for (const AutomationEvent& event : instance.host.takeEvents()) {
    kinds[event.id] += event.kind;
    if (event.kind == 'P') values[event.id] = event.normalised;
  }
  for (int i = 0; i < kABBank; ++i) {
    const ParameterFacts facts(i);
    SCOPED_TRACE(facts.record.name);
    const auto set = std::ranges::find(plain, i, &PlainSetting::index);
    const bool isSet = set != plain.end();
    const double expected =
        facts.toldValue(isSet ? set->plain : static_cast<double>(facts.record.value));
    EXPECT_EQ(kinds[facts.id], "TPR");
    EXPECT_NEAR(values[facts.id], expected, kFloatError);
    EXPECT_EQ(instance.normalised(facts.id), values[facts.id]);
  }
}

TEST_F(LoadedPlugin, TellsTheHostWhatChangesInside) {
  HostedInstance instance(effect(), 2);
  Reference reader;
  const std::vector<PlainSetting> settings = busySettings();
  for (const auto& [index, plain] : settings) instance.set(index, plain);
  const std::vector<float> before = reader.valuesOf(instance);
  EXPECT_TRUE(instance.host.takeEvents().empty()) << "the host's own values";
  instance.set(kABBank, 1.0);  // another bank tells all of its values
  expectAllTold(instance, {});
  instance.set(kABBank, 0.0);
  expectAllTold(instance, settings);
  EXPECT_EQ(reader.valuesOf(instance), before) << "after the host's echo";
}

TEST_F(LoadedPlugin, HostGesturesComeBackAsEvents) {
  HostedInstance instance(effect(), 2);
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
  EXPECT_EQ(kinds, id + "T" + id + "P" + id + "R");
  EXPECT_GT(after, before);
  EXPECT_EQ(instance.normalised(id), 0.75);
  for (const auto& [given, kept] : {std::pair{7.0, 1.0}, {-7.0, 0.0}}) {
    instance.update(id, given);
    EXPECT_EQ(instance.normalised(id), kept) << given;
  }
  instance.update(id, std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(instance.normalised(id), 0.0) << "no number";
}

TEST_F(LoadedPlugin, UnknownParametersAreRefused) {
  HostedInstance instance(effect(), 2);
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
      EXPECT_EQ(result, AAX_ERROR_INVALID_PARAMETER_ID) << call << " of " << (id ? id : "null");
    }
  }
  for (const int index : {-1, kNumParams + 1}) {
    EXPECT_NE(p.GetParameterIDFromIndex(index, &text), AAX_SUCCESS) << index;
  }
}

}  // namespace
