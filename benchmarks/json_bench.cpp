#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "state/json_document.h"

namespace {

// As a full session holds it: 32 programs of 422 parameters, each with a name and a few settings.
std::string sessionText() {
  constexpr unsigned kSeed = 7;
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<float> normalised(0.0F, 1.0F);
  const JsonTree root(jsonCreateObject());
  JsonNode* const programs = jsonCreateArray();
  jsonAddItemToObject(root.get(), "presets", programs);
  for (int p = 0; p < 32; ++p) {
    JsonNode* const program = jsonCreateObject();
    jsonAddItemToArray(programs, program);
    jsonAddItemToObject(program, "name", jsonCreateString("Gr\xc3\xbc\xc3\x9f \"loud\" \\ soft"));
    for (int i = 0; i < 422; ++i) {
      const std::string key = "kB" + std::to_string(i / 52 + 1) + "Row" + std::to_string(i % 52);
      const double value = i % 5 == 0 ? i % 3 : static_cast<double>(normalised(random));
      jsonAddItemToObject(program, key.c_str(), jsonCreateNumber(value));
    }
  }
  return JsonText(jsonPrintFormatted(root.get())).get();
}

std::string printed(const JsonNode* root, bool formatted) {
  const JsonText text(formatted ? jsonPrintFormatted(root) : jsonPrintUnformatted(root));
  return text ? text.get() : "";
}

std::int64_t processed(const benchmark::State& state, std::size_t bytes) {
  return static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes);
}

// The floor of what any reader or printer does: every byte once.
void copyText(benchmark::State& state) {
  const std::string text = sessionText();
  std::vector<char> copy(text.size());
  for ([[maybe_unused]] auto _ : state) {
    std::memcpy(copy.data(), text.data(), text.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(processed(state, text.size()));
}

void parseAndDelete(benchmark::State& state) {
  const std::string text = sessionText();
  if (printed(JsonTree(jsonParse(text.c_str())).get(), true) != text) {
    state.SkipWithError("the text does not come back");
    return;
  }
  for ([[maybe_unused]] auto _ : state) {
    const JsonTree tree(jsonParse(text.c_str()));
    benchmark::DoNotOptimize(tree.get());
  }
  state.SetBytesProcessed(processed(state, text.size()));
}

void print(benchmark::State& state, bool formatted) {
  const JsonTree tree(jsonParse(sessionText().c_str()));
  const std::string expected = printed(tree.get(), formatted);
  const JsonTree again(jsonParse(expected.c_str()));
  if (expected.empty() || printed(again.get(), formatted) != expected) {
    state.SkipWithError("the text does not come back");
    return;
  }
  for ([[maybe_unused]] auto _ : state) {
    const JsonText text(formatted ? jsonPrintFormatted(tree.get())
                                  : jsonPrintUnformatted(tree.get()));
    benchmark::DoNotOptimize(text.get());
  }
  state.SetBytesProcessed(processed(state, expected.size()));
}

BENCHMARK(copyText);
BENCHMARK(parseAndDelete);
BENCHMARK_CAPTURE(print, formatted, true);
BENCHMARK_CAPTURE(print, unformatted, false);

}  // namespace
