#include "tests/factory/claims.h"

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace {

/// Places by name: the whole, one side of the signal, the frames that were loudest or quietest, and
/// times of the talk, of the key and of the tones.
const std::map<std::string, Region> kPlaces = {
    {"all", {}},
    {"mid", {.part = Part::kMid}},
    {"side", {.part = Part::kSide}},
    {"loudest", {.frames = Frames::kLoudest}},
    {"quietest", {.frames = Frames::kQuietest}},
    {"room", {.fromSeconds = 0.3, .toSeconds = 1.4}},
    {"loudTalk", {.fromSeconds = 1.6, .toSeconds = 4.0}},
    {"softTalk", {.fromSeconds = 4.6, .toSeconds = 7.0}},
    {"pause", {.fromSeconds = 7.1, .toSeconds = 7.45}},
    {"sharpTalk", {.fromSeconds = 7.6, .toSeconds = 8.7}},
    {"thumps", {.fromSeconds = 8.75, .toSeconds = 10.0}},
    {"keyOn", {.fromSeconds = 5.3, .toSeconds = 7.3}},
    {"keyOff", {.fromSeconds = 9.0, .toSeconds = 9.9}},
    {"firstTone", {.fromSeconds = 1.0, .toSeconds = 4.5}}};

Claim readClaim(const std::string& line) {
  std::istringstream words(line);
  Claim claim;
  words >> claim.measure;
  if (claim.measure == "level") {
    std::string place;
    words >> place;
    claim.region = kPlaces.at(place);
    words >> claim.region.fromHz >> claim.region.toHz;
  } else if (claim.measure == "reduction" || claim.measure == "boost") {
    words >> claim.band;
  }
  if (!(words >> claim.low >> claim.high)) throw std::runtime_error("no claim: " + line);
  return claim;
}

}  // namespace

std::vector<PresetClaims> presetClaims() {
  std::vector<PresetClaims> all;
  std::ifstream lines(CORVANTHELIS_CLAIMS);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.starts_with("#")) continue;
    if (line.starts_with(" ")) {
      all.back().claims.push_back(readClaim(line));
    } else {
      const std::size_t colon = line.find(": ");
      all.push_back({line.substr(0, colon), line.substr(colon + 2), {}});
    }
  }
  return all;
}
