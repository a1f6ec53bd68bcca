#include "apps/automation.h"

#include <gtest/gtest.h>

#include <sstream>

#include "apps/failure.h"
#include "core/parameter_ids.h"

namespace {

Automation read(const std::string& text) {
  std::istringstream stream(text);
  return readAutomation(stream, "moves.csv");
}

TEST(Automation, rowsComeInOrderOfTimeAndThoseOfOneMomentInOrderOfTheFile) {
  const Automation automation = read(
      "\xEF\xBB\xBFSeconds,ID,Plain\r\n"
      "# a comment\r\n"
      "\r\n"
      "2, kOpTrim, 1\r\n"
      "0.5,kIpTrim,2  # up\r\n"
      "2,kOpTrim,3\r\n"
      "  \t\r\n"
      "0,kWetDry,400");
  const struct {
    double seconds;
    int parameter;
    float plain;
  } expected[] = {
      {0, kWetDry, 100.0F}, {0.5, kIpTrim, 2.0F}, {2, kOpTrim, 1.0F}, {2, kOpTrim, 3.0F}};
  ASSERT_EQ(automation.points.size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(automation.points[i].seconds, expected[i].seconds);
    EXPECT_EQ(automation.points[i].parameter, expected[i].parameter);
    EXPECT_EQ(automation.points[i].plain, expected[i].plain);
  }
  ASSERT_EQ(automation.warnings.size(), 1U);
  EXPECT_NE(automation.warnings[0].find("moves.csv:8: kWetDry"), std::string::npos);
  EXPECT_TRUE(automation.touches(kOpTrim));
  EXPECT_FALSE(automation.touches(kBypass));
}

TEST(Automation, ofManyValuesOutOfRangeTenAreTold) {
  std::string rows;
  for (int i = 0; i < 1000; ++i) rows += "0,kIpTrim,99\n";
  const std::vector<std::string> told = read(rows).warnings;
  ASSERT_EQ(told.size(), 11U);
  EXPECT_EQ(told.back(), "and 990 more like these");
}

TEST(Automation, faultsNameFileLineAndReason) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"1,kIpTrim", "moves.csv:1: a row should read seconds,ID,PLAIN"},
      {"\n\n1,kIpTrim,2,3\n", "moves.csv:3: a row should read seconds,ID,PLAIN"},
      {"0,kIpTrim,1\n-1,kIpTrim,2\n", "moves.csv:2: '-1' is not a time in seconds"},
      {"now,kIpTrim,2\n", "moves.csv:1: 'now' is not a time in seconds"},
      {"inf,kIpTrim,2\n", "moves.csv:1: 'inf' is not a time in seconds"},
      {"1,kIpTrim,loud\n", "moves.csv:1: 'loud' is not a finite number"},
      {"1,,2\n", "moves.csv:1: unknown parameter ''"},
      {"seconds,ID,PLAIN\nseconds,ID,PLAIN\n", "moves.csv:2: 'seconds' is not a time"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    try {
      read(c.text);
      ADD_FAILURE() << "taken";
    } catch (const Failure& failure) {
      EXPECT_TRUE(std::string_view(failure.what()).starts_with(c.message)) << failure.what();
    }
  }
}

TEST(Automation, aRowTakesEffectInTheBlockThatHoldsItsTime) {
  // 0.35 s times 44.1 kHz is a hair below 15435 in floating point.
  const Automation automation = read("0,kIpTrim,0\n0.35,kIpTrim,1\n0.50002,kIpTrim,2\n");
  AutomationCursor cursor(automation, 44100.0);
  const auto taken = [&cursor](std::int64_t end) {
    int count = 0;
    while (cursor.nextBefore(end) != nullptr) ++count;
    return count;
  };
  EXPECT_EQ(taken(1), 1);
  EXPECT_EQ(taken(15435), 0);
  EXPECT_EQ(taken(15436), 1);
  EXPECT_EQ(taken(22050), 0);
  EXPECT_EQ(taken(22051), 1) << "within the frame's time, however late";
}

}  // namespace
