#include "apps/latency_aligner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <numeric>
#include <vector>

namespace {

/// A process that puts out what it took in `delay` frames ago.
class DelayingProcess {
 public:
  explicit DelayingProcess(int delay) : line(static_cast<std::size_t>(delay), 0) {}

  int tick(int in) {
    line.push_back(in);
    const int out = line.front();
    line.pop_front();
    return out;
  }

 private:
  std::deque<int> line;
};

std::vector<int> renderAligned(const std::vector<int>& input, int delay, int block) {
  DelayingProcess process(delay);
  LatencyAligner aligner(delay);
  std::vector<int> output;
  const auto run = [&](const std::vector<int>& in) {
    std::vector<int> out;
    out.reserve(in.size());
    for (const int sample : in) out.push_back(process.tick(sample));
    output.insert(output.end(), out.begin() + aligner.drop(static_cast<int>(out.size())),
                  out.end());
  };
  const int total = static_cast<int>(input.size());
  for (int at = 0; at < total; at += block) {
    run({input.begin() + at, input.begin() + std::min(at + block, total)});
  }
  while (const int frames = aligner.nextFlush(block)) {
    EXPECT_LE(frames, block);
    run(std::vector<int>(static_cast<std::size_t>(frames), 0));
  }
  return output;
}

TEST(LatencyAligner, whatADelayingProcessPutsOutStandsWhereItStoodInTheInput) {
  for (const int frames : {0, 1, 7, 1000}) {
    std::vector<int> input(static_cast<std::size_t>(frames));
    std::iota(input.begin(), input.end(), 1);
    for (const int delay : {0, 1, 63, 64, 65, 5000}) {
      for (const int block : {1, 64, 1000}) {
        SCOPED_TRACE(testing::Message()
                     << frames << " frames, delay " << delay << ", block " << block);
        EXPECT_EQ(renderAligned(input, delay, block), input);
      }
    }
  }
}

}  // namespace
