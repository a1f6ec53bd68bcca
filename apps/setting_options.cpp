#include "apps/setting_options.h"

#include <cstddef>

namespace {

CLI::Option* addRepeatable(CLI::App& command, const char* name, const char* value,
                           const char* description) {
  return addOption(command, name, description, {.type = value, .isRepeatable = true});
}

}  // namespace

SettingOptions::SettingOptions(CLI::App& command)
    : app(command),
      plain(addRepeatable(command, "--set", "ID=PLAIN",
                          "Set a parameter in its own unit; repeatable")),
      normalised(addRepeatable(command, "--setn", "ID=NORMALISED",
                               "Set a parameter by its position, 0 to 1; repeatable")) {}

std::vector<Setting> SettingOptions::parse(std::vector<std::string>& warnings) const {
  std::vector<Setting> settings;
  std::size_t nextPlain = 0;
  std::size_t nextNormalised = 0;
  // An option stands in this list once for each time it was given.
  for (const CLI::Option* const option : optionsInOrder(app)) {
    if (option == plain) {
      settings.push_back(parseSetting(valuesOf(plain).at(nextPlain++), false, warnings));
    } else if (option == normalised) {
      settings.push_back(parseSetting(valuesOf(normalised).at(nextNormalised++), true, warnings));
    }
  }
  return settings;
}
