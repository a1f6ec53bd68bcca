#include "apps/report.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "apps/progress_bar.h"
#include "apps/text.h"
#include "tests/support/test_directory.h"

namespace {

TEST(Progress, theLineFitsAndTellsTheTimeLeft) {
  EXPECT_EQ(progressLine(25, 100, 10000, 40), "[===          ]  25 %  0:30 left");
  EXPECT_EQ(progressLine(100, 100, 10000, 40), "[=============] 100 %  0:00 left");
  EXPECT_EQ(progressLine(300, 100, 10000, 40), "[=============] 100 %  0:00 left");
  EXPECT_EQ(progressLine(300, 0, 61000, 40), "[             ] 1:01");
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

RenderReport reportOfTwoFiles() {
  RenderReport report;
  report.output = "out.wav";
  report.sampleRate = 44100;
  report.channels = 2;
  report.frames = 88200;
  report.latency = 441;
  report.elapsedSeconds = 0.5;
  report.before = {-20.0, -3.26};
  report.after = {-17.8, -1.0};
  report.gains[2] = GainRange{-6.25, 0.0};
  report.gains[4] = GainRange{0.0, 3.1};
  report.gains[7] = GainRange{-12.0, 0.3};
  report.trimBefore = -1.5;
  report.trimAfter = 2.25;
  report.passes = 3;
  report.loaded = {"a.bank", "b.preset"};
  return report;
}

TEST(Report, everyFigureStandsInItsPlace) {
  RenderReport report = reportOfTwoFiles();
  RenderReport silent;
  silent.output = "a\nb.wav";
  silent.sampleRate = 48000;
  silent.channels = 1;
  silent.latency = 96;
  silent.latencyKept = true;
  EXPECT_EQ(reportText(report) + tableHeading(10) + "\n" + tableLine(report, 10) + "\n" +
                reportText(silent) + tableLine(silent, 10) + "\n",
            readBytes(CORVANTHELIS_TEST_DATA "/report.txt"));
  report.gains[7] = GainRange{-2.0, 0.0};
  EXPECT_TRUE(tableLine(report, 10).ends_with("6.2 dB"));
}

}  // namespace
