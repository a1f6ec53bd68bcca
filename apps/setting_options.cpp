#include "apps/setting_options.h"

#include <cstddef>

namespace {

CLI::Option* addRepeatable(CLI::App& command, const std::string& name, const std::string& value,
                           const std::string& description) {
  return command.add_option(name, description)
      ->type_name(value)
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
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
  for (const CLI::Option* const option : app.parse_order()) {
    if (option == plain) {
      settings.push_back(parseSetting(plain->results().at(nextPlain++), false, warnings));
    } else if (option == normalised) {
      settings.push_back(parseSetting(normalised->results().at(nextNormalised++), true, warnings));
    }
  }
  return settings;
}
