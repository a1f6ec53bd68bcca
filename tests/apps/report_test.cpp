#include "apps/report.h"

#include <gtest/gtest.h>

#include <sstream>

#include "apps/progress_bar.h"
#include "apps/text.h"

namespace {

TEST(Progress, theLineFitsAndTellsTheTimeLeft) {
  EXPECT_NE(progressLine(25, 100, 10000, 80).find(" 25 %  0:30 left"), std::string::npos);
  EXPECT_NE(progressLine(100, 100, 10000, 80).find("100 %  0:00 left"), std::string::npos);
  EXPECT_NE(progressLine(300, 100, 10000, 80).find("100 %"), std::string::npos);
  EXPECT_NE(progressLine(300, 0, 61000, 80).find("1:01"), std::string::npos);
  for (const int columns : {0, 1, 10, 31, 32, 80, 500}) {
    for (const std::int64_t done : {0, 1, 50, 100}) {
      const std::string line = progressLine(done, 100, 360000000, columns);
      EXPECT_LE(static_cast<int>(line.size()), std::max(columns - 1, 0)) << line;
    }
  }
}

TEST(Text, numbersReadTheSameEverywhere) {
  EXPECT_EQ(fixedText(-0.04, 1), "0.0");
  EXPECT_EQ(fixedText(-12.25, 1), "-12.2");
  EXPECT_EQ(signedText(0.04, 1), "0.0");
  EXPECT_EQ(signedText(3.0, 2), "+3.00");
  EXPECT_EQ(shortestText(0.71F), "0.71");
  EXPECT_EQ(durationText(0.0), "0:00.000");
  EXPECT_EQ(durationText(59.9996), "1:00.000");
  EXPECT_EQ(durationText(3723.25), "1:02:03.250");
  EXPECT_EQ(padded("\xC3\xA4", 3), "\xC3\xA4  ");
  EXPECT_EQ(oneLine("a\nb"), "a?b");
}

TEST(Report, columnsStandUnderEachOtherAndSilenceHasNoNumber) {
  RenderReport report;
  report.output = "out.wav";
  report.sampleRate = 48000;
  report.channels = 2;
  report.frames = 96000;
  report.elapsedSeconds = 0.5;
  report.before.integratedLufs = -20.0;
  report.gains[2] = GainRange{-6.25, 0.0};
  report.gains[4] = GainRange{0.0, 3.1};
  const std::string text = reportText(report);
  EXPECT_NE(text.find("-20.0 LUFS before, silent after\n"), std::string::npos) << text;
  EXPECT_NE(text.find("band 3   6.2 dB\n"), std::string::npos) << text;
  EXPECT_NE(text.find("band 5   0.0 dB, boost 3.1 dB\n"), std::string::npos) << text;
  EXPECT_NE(text.find("4.0 times real time\n"), std::string::npos) << text;
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) {
    ASSERT_GT(line.size(), 18U);
    EXPECT_EQ(line[17], ' ') << line;
  }
  EXPECT_EQ(tableHeading(10).size(), tableLine(report, 10).size());
}

}  // namespace
