#include "apps/command/value_commands.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "apps/effect/effect_runner.h"
#include "apps/output/failure.h"
#include "apps/output/json_output.h"
#include "apps/output/messages.h"
#include "apps/output/text.h"
#include "apps/render/loudness.h"
#include "core/parameter_table.h"
#include "core/value_reading.h"
#include "platform/index.h"
#include "state/json_document.h"

namespace {

int groupOf(std::int32_t parameter) {
  return isBandParameter(parameter) ? bandOf(parameter) + 1 : 0;
}

/// The number of its shortest decimal text, so that 0.71 does not print as 0.7099999785.
JsonNode* decimalJson(float value) {
  return jsonCreateNumber(std::strtod(shortestText(value).c_str(), nullptr));
}

JsonTree parameterJson(std::int32_t number, const ParameterRecord& record) {
  JsonTree entry(jsonCreateObject());
  const auto add = [&entry](const char* key, JsonNode* item) { addMember(entry, key, item); };
  add("number", jsonCreateNumber(number));
  add("id", jsonCreateString(parameterIdentifier(number).c_str()));
  add("name", jsonCreateString(record.name));
  add("label", jsonCreateString(record.label));
  add("default", decimalJson(record.value));
  add("min", decimalJson(record.min));
  add("max", decimalJson(record.max));
  add("curve", jsonCreateNumber(record.curve));
  add("group", jsonCreateNumber(groupOf(number)));
  add("values", jsonCreateString(valueRange(number, record, {}).c_str()));
  const std::vector<std::string> words = valueWords(number, record, {});
  if (words.empty()) return entry;
  JsonTree choices(jsonCreateArray());
  for (const std::string& word : words) {
    jsonAddItemToArray(choices.get(), jsonCreateString(word.c_str()));
  }
  add("choices", choices.release());
  return entry;
}

using Columns = std::array<std::string, 10>;

Columns parameterColumns(std::int32_t number, const ParameterRecord& record) {
  return {std::to_string(number),
          parameterIdentifier(number),
          record.name,
          record.label,
          shortestText(record.value),
          shortestText(record.min),
          shortestText(record.max),
          std::to_string(record.curve),
          std::to_string(groupOf(number)),
          valueRange(number, record, {})};
}

void printTable(const std::vector<Columns>& rows) {
  // Texts are left-aligned, numbers right-aligned.
  constexpr std::array<bool, 10> kIsText = {false, true,  true,  true,  false,
                                            false, false, false, false, true};
  std::array<std::size_t, 10> widths{};
  for (const Columns& row : rows) {
    for (std::size_t c = 0; c + 1 < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
  }
  for (const Columns& row : rows) {
    std::string line;
    for (std::size_t c = 0; c < row.size(); ++c) {
      if (c > 0) line += "  ";
      line += kIsText[c] ? padded(row[c], widths[c]) : paddedLeft(row[c], widths[c]);
    }
    std::cout << line << '\n';
  }
}

}  // namespace

ParamsCommand::ParamsCommand(CLI::App& program)
    : app(addCommand(program, "params", "List the parameters")) {
  setFooter(
      app,
      "The last column has the texts of values, which --set takes as well as plain numbers:\n"
      "the words of a choice from min on, or the ends of a range. A ratio of 0.8 is 5:1, as 1\n"
      "minus 1/5. The texts of limits, ratios and positions change with kExtendedRanges,\n"
      "kExtendedRatios and the band's LR and SCLR; see format.\n"
      "\n"
      "Examples:\n"
      "  corvanthelis params\n"
      "  corvanthelis params | grep kB1\n"
      "  corvanthelis params --json");
  addFlag(app, "--json", json, "Print the list as JSON");
}

int ParamsCommand::run() const {
  if (json) {
    JsonTree list(jsonCreateArray());
    for (std::int32_t i = 0; i < kNumParams; ++i) {
      jsonAddItemToArray(list.get(), parameterJson(i, kParameterTable[at(i)]).release());
    }
    printJson(list.get());
    return kDone;
  }
  std::vector<Columns> rows = {
      {"number", "id", "name", "label", "default", "min", "max", "curve", "group", "values"}};
  for (std::int32_t i = 0; i < kNumParams; ++i) {
    rows.push_back(parameterColumns(i, kParameterTable[at(i)]));
  }
  printTable(rows);
  return kDone;
}

FormatCommand::FormatCommand(CLI::App& program)
    : app(addCommand(program, "format", "Print the text that a parameter shows for values")),
      state(app) {
  setFooter(app,
            "Examples:\n"
            "  corvanthelis format kB1Threshold 0 0.5 1\n"
            "  corvanthelis format --note kB1Frequency 0.5 '1.5 kHz'\n"
            "  corvanthelis format --set kExtendedRatios=1 kB1Ratio 0.25\n"
            "  corvanthelis format --preset De-esser kB1Frequency 0.5");
  addFlag(app, "--note", note, "Show frequencies as musical notes");
  addOption(app, "ID", identifier, "The parameter", {.isRequired = true});
  addOption(app, "VALUE", values,
            "Positions, 0 to 1, beyond which the ends count; or texts such as 4:1",
            {.isRequired = true});
}

int FormatCommand::run() const {
  std::vector<std::string> warnings;
  const EffectState wanted = state.read(warnings);
  const std::int32_t parameter = parameterNumber(identifier);
  HostedPlug plug(false);
  applyState(plug, wanted);
  std::vector<float> positions;
  for (const std::string& text : values) {
    const auto number = finiteNumber(text);
    positions.push_back(
        number ? static_cast<float>(std::clamp(*number, 0.0, 1.0))
               : plug.plainToNormalised(
                     parameter, readPlain(parameter, text, plug.textContext(parameter), warnings)));
  }
  printWarnings(warnings);
  for (const float position : positions) {
    std::array<char, Plug::kParameterTextCapacity> text{};
    plug.formatParameterValue(parameter, position, text.data(), note);
    std::cout << text.data() << '\n';
  }
  return kDone;
}

LatencyCommand::LatencyCommand(CLI::App& program)
    : app(addCommand(program, "latency", "Print the effect's delay in samples")), state(app) {
  setFooter(app,
            "Examples:\n"
            "  corvanthelis latency\n"
            "  corvanthelis latency --rate 96000 --set kOversample=2\n"
            "  corvanthelis latency --offline --set kOversampleOL=2\n"
            "  corvanthelis latency --state session.json");
  addOption(app, "--rate", rate, "Sample rate", {.type = "HZ", .showsDefault = true});
  addFlag(app, "--offline", offline, "As in a render, where kOversampleOL counts (live)");
}

int LatencyCommand::run() const {
  if (!(rate >= Loudness::kLowestRate && rate <= Loudness::kHighestRate)) {
    throw WrongArguments("--rate: from " + std::to_string(Loudness::kLowestRate) + " to " +
                         std::to_string(Loudness::kHighestRate) + " Hz");
  }
  std::vector<std::string> warnings;
  const EffectState wanted = state.read(warnings);
  HostedPlug plug(!offline);
  plug.setSampleRate(static_cast<float>(rate));
  applyState(plug, wanted);
  plug.resume();
  requireUpdate(plug);
  plug.onIdle();
  printWarnings(warnings);
  std::cout << plug.getAeffect()->initialDelay << '\n';
  return kDone;
}
