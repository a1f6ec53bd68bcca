#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>

#include "tests/support/script.h"
#include "toolkit/control.h"
#include "toolkit/frame.h"

/// Notes what an editor hears of the controls of its frame.
class NotedActs : public VSTGUIEditorInterface, public CControlListener {
 public:
  virtual void hear(const std::string& news) { log += (log.empty() ? "" : " ") + news; }
  void beginEdit(std::int32_t tag) override { hear("begin" + std::to_string(tag)); }
  void endEdit(std::int32_t tag) override { hear("end" + std::to_string(tag)); }
  void setParameter(std::int32_t /*tag*/, float /*normalised*/) override {}
  void frameCallback(std::int32_t /*code*/, void* /*data*/) override {}
  [[nodiscard]] CFrame& shown() const { return *getFrame(); }

  std::uint64_t now = 1000;  // ms
  std::string log;
};

/// A script of mouse and keys: `down | x | y | words`, `key | name words`, and the like.
class UserScript : public Script {
 protected:
  explicit UserScript(NotedActs& editor) : acts(editor) {
    commands["down"] = [this] { events().mouseDown(at(), kLButton, pressed()); };
    commands["drag"] = [this] { events().mouseMoved(at(), held(row[3]).all() | kLButton); };
    commands["up"] = [this] { events().mouseUp(at(), kLButton, {}); };
    commands["click"] = [this] {
      events().mouseDown(at(), kLButton, pressed());
      events().mouseUp(at(), kLButton, {});
    };
    commands["move"] = [this] { events().mouseMoved(at(), {}); };
    commands["wheel"] = [this] { events().wheel(at(), std::stof(row[3]), held(row[4])); };
    commands["wait"] = [this] {
      acts.now += static_cast<std::uint64_t>(number(1));
      acts.shown().idle();
    };
    commands["key"] = [this] { press(keyOf(row[1])); };
  }

  void press(const KeyEvent& key) {
    if (!events().keyDown(key)) say("passed");
  }
  [[nodiscard]] WindowListener& events() { return acts.shown().events(); }
  [[nodiscard]] DevicePoint at() const { return {std::stod(row[1]), std::stod(row[2])}; }
  [[nodiscard]] static CButtonState held(const std::string& words) {
    static const std::map<std::string, std::uint32_t> kKnown = {
        {"shift", kShift},        {"control", kControl}, {"alt", kAlt},
        {"double", kDoubleClick}, {"right", kRButton},   {"middle", kMButton}};
    std::uint32_t bits = 0;
    std::istringstream in(words);
    for (std::string word; in >> word;) bits |= kKnown.contains(word) ? kKnown.at(word) : 0;
    return bits;
  }
  [[nodiscard]] CButtonState pressed() const {
    const CButtonState bits = held(row[3]);
    return bits.buttons() != 0 ? bits.all() : bits.all() | kLButton;
  }
  /// Its name, or its character, before the keys that are held. Figures alone have a text.
  [[nodiscard]] static KeyEvent keyOf(const std::string& words) {
    static const std::map<std::string, Key> kKeys = {
        {"return", Key::kReturn},     {"escape", Key::kEscape}, {"tab", Key::kTab},
        {"back", Key::kBack},         {"delete", Key::kDelete}, {"left", Key::kLeft},
        {"right", Key::kRight},       {"up", Key::kUp},         {"down", Key::kDown},
        {"home", Key::kHome},         {"end", Key::kEnd},       {"pageup", Key::kPageUp},
        {"pagedown", Key::kPageDown}, {"space", Key::kSpace},   {"insert", Key::kInsert},
        {"menu", Key::kMenu}};
    const std::size_t end = std::min(words.find(' '), words.size());
    const std::string name = words.substr(0, end);
    const CButtonState keys = held(words.substr(end));
    if (kKeys.contains(name)) return {kKeys.at(name), 0, {}, keys};
    const auto character = static_cast<unsigned char>(name[0]);
    return {Key::kNone, character, character < 'A' ? name : std::string(), keys};
  }

 private:
  NotedActs& acts;
};
