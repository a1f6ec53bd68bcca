#pragma once

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "tests/hosted/reference.h"

struct HostSetup {
  int channels = 2;
  double rate = 48000.0;
  bool hasSidechain =
      false;  ///< the plug-in is one with a sidechain; where it is fed, `render` tells
  bool inPlace = false;
};

/// What a host stores of an instance: its parts by name, and what it shows of each parameter.
struct Session {
  std::map<std::string, std::string> parts;
  std::vector<double> shown;
};
inline constexpr const char* kStatePart = "state";  ///< the effect's own

/// Controllers that move parameters from inside, in all hosts of the tests.
inline constexpr std::array<std::pair<int, int>, 5> kControllers = {
    {{kIpTrim, 20}, {kOpTrim, 21}, {kBypass, 22}, {kB1Threshold, 23}, {kABBank, 24}}};

/// One instance of a built plug-in in a host of its kind, as far as all kinds agree. One thread.
class Hosted {
 public:
  static constexpr int kLead = 4096;  ///< frames of silence that pass before a host's moves

  explicit Hosted(const HostSetup& itsSetup) : setup(itsSetup) {}
  virtual ~Hosted() = default;
  Hosted(const Hosted&) = delete;
  Hosted& operator=(const Hosted&) = delete;

  /// `in`: main channels, then those of the sidechain. Blocks of many lengths, in real time.
  Signal render(Signal in);
  void rest(int frames) { static_cast<void>(render(silence(setup.channels, frames))); }
  /// The host moves parameters, after `kLead`; offline they are in force in the next block.
  void move(const Settings& settings) {
    rest(kLead);
    set(settings);
  }
  /// Until all moves are in the sound.
  virtual void settle() {}
  virtual void setBypass(bool on) = 0;
  void setOffline(bool on);
  /// A controller's message, by the parameter it moves, in a block of silence of 64 frames.
  void turn(int id, int position);
  /// What the plug-in asked its host to set since the last call, in the host's own units.
  [[nodiscard]] virtual std::multimap<int, double> takeTold() = 0;
  /// Whether a value of the host's stands for a plain one, and what it shows of a parameter.
  [[nodiscard]] virtual bool means(int id, double value, double plain) const = 0;
  [[nodiscard]] virtual double shown(int id) = 0;
  /// As the host was told last.
  [[nodiscard]] virtual int latency() = 0;
  [[nodiscard]] virtual Session save() = 0;
  /// Brings the parts back, then what was shown; whether the plug-in took the parts.
  virtual bool restore(const Session& session) = 0;
  /// What the host expects of the meters, where it has some.
  virtual void expectMeters(const Reference& /*reference*/) {}

  [[nodiscard]] std::string state() { return save().parts.at(kStatePart); }

 protected:
  virtual void set(const Settings& settings) = 0;
  virtual void process(Signal& in, Signal& out) = 0;
  virtual void tellOffline(bool on) = 0;
  virtual void queue(std::uint8_t controller, std::uint8_t position) = 0;

  const HostSetup setup;
  bool isOffline = false;
};

/// A kind of plug-in and its host.
struct HostKind {
  const char* name;
  const char* library;   ///< the copy that hosts load, in a folder of its own
  bool hidesLatency;     ///< in bypass, which then passes the very bits
  int mostSideChannels;  ///< of a stereo instance
  int monoSideChannels;
  std::unique_ptr<Hosted> (*make)(const HostSetup& setup);
  void (*unload)();  ///< after the last instance
};
inline void PrintTo(const HostKind* kind, std::ostream* out) { *out << kind->name; }
extern const HostKind kAaxKind;
extern const HostKind kLv2Kind;

/// Where a copy of a built library lies, with the controllers above in the settings it will read:
/// those of the user are neither met nor changed.
[[nodiscard]] std::string copyAlone(const std::string& library);
