// How the built program answers: statuses, messages, and what a failure leaves.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/parameter_table.h"
#include "state/json_document.h"
#include "tests/apps/program.h"

namespace {

class Command : public ProgramTest {
 protected:
  void SetUp() override {
    writeAudio(file("in.wav"), makeSignal(5000, 2, 48000, 1));
    writeAudio(file("rate.wav"), makeSignal(500, 1, 44100, 1));
    writeAudio(file("three.wav"), makeSignal(500, 3, 48000, 1));
    writeAudio(file("low.wav"), makeSignal(500, 1, 16, 1));
    const std::string whole = readBytes(file("in.wav"));
    writeBytes(file("cut.wav"), whole.substr(0, whole.size() / 2));
    std::string unclosed = whole;
    unclosed.replace(unclosed.find("data") + 4, 4, 4, '\0');
    writeBytes(file("unclosed.wav"), unclosed);
    std::filesystem::create_directory(file("folder"));
    std::filesystem::create_symlink("/dev/full", file("full.wav"));
    std::filesystem::create_hard_link(file("in.wav"), file("hard.wav"));
    std::filesystem::create_symlink("in.wav", file("soft.wav"));
    std::filesystem::create_symlink("later.wav", file("coming.wav"));
    ASSERT_EQ(mkfifo(file("pipe").c_str(), 0600), 0);
    writeBytes(file("large.csv"), "");
    std::filesystem::resize_file(file("large.csv"), (64 << 20) + 1);
  }
};

TEST_F(Command, failsAsItIsTold) { follow("failures.txt"); }

TEST_F(Command, answersAsItIsAsked) { follow("answers.txt"); }

TEST_F(Command, listsEveryParameterForPeopleAndMachines) {
  const std::string table = answer("params");
  EXPECT_EQ(lineCount(table), kNumParams + 1);
  const JsonTree list(jsonParse(answer("params --json").c_str()));
  ASSERT_EQ(jsonGetArraySize(list.get()), kNumParams);
  const JsonNode* entry = list->child;
  for (int id = 0; id < kNumParams; ++id, entry = entry->next) {
    const ParameterRecord& record = kParameterTable[static_cast<std::size_t>(id)];
    const std::string name(parameterKeyTable().name(id));
    const struct {
      const char* key;
      double value;
    } numbers[] = {
        {"number", double(id)},          {"default", double(record.value)},
        {"min", double(record.min)},     {"max", double(record.max)},
        {"curve", double(record.curve)}, {"group", isBandParameter(id) ? name[2] - '0' : 0.0}};
    EXPECT_EQ(jsonGetArraySize(entry), 9);
    for (const auto& number : numbers) {
      EXPECT_EQ(static_cast<float>(jsonGetObjectItem(entry, number.key)->valueDouble),
                static_cast<float>(number.value))
          << name << ", " << number.key;
    }
    EXPECT_EQ(jsonGetObjectItem(entry, "id")->valueString, name);
    EXPECT_STREQ(jsonGetObjectItem(entry, "name")->valueString, record.name);
    EXPECT_STREQ(jsonGetObjectItem(entry, "label")->valueString, record.label);
  }
}

}  // namespace
