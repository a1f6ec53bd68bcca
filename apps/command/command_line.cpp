#include "apps/command/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "apps/output/failure.h"
#include "apps/output/spelling.h"
#include "apps/output/text.h"

namespace {

constexpr const char* kHelp = "help";

/// A message of the parser, adapted to the style of our messages.
std::string parserReason(const CLI::ParseError& fault) {
  std::string text = fault.what();
  if (text.starts_with("The ") || text.starts_with("A ")) text.front() += 'a' - 'A';
  return text;
}

CLI::Option* formed(CLI::Option* option, const OptionForm& form) {
  option->type_name(form.type)->required(form.isRequired);
  if (form.showsDefault) option->capture_default_str();
  if (form.isRepeatable) {
    option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  if (form.range) {
    option->check(CLI::Range(form.range->first, form.range->second).description(""));
  }
  if (!form.choices.empty()) option->check(CLI::IsMember(form.choices).description(""));
  return option;
}

[[noreturn]] void refuseCommand(const CLI::App& parent, const std::string& word) {
  std::string message = "there is no command '" + shownName(word) + "'";
  if (word.size() <= kLongestShown) {
    const auto commands = parent.get_subcommands([](const CLI::App*) { return true; });
    const auto nearest = std::ranges::min_element(commands, {}, [&word](const CLI::App* command) {
      return editDistance(lowered(word), command->get_name());
    });
    message += "; the nearest is " + (*nearest)->get_name();
  }
  const bool isProgram = parent.get_parent() == nullptr;
  throw WrongArguments(message + " (see help" + (isProgram ? ")" : " " + parent.get_name() + ")"));
}

/// Refuses a word where a command should stand.
void checkCommands(const CLI::App& program, const std::vector<std::string>& words) {
  const CLI::App* parent = &program;
  for (const std::string& word : words) {
    const auto commands = parent->get_subcommands([](const CLI::App*) { return true; });
    if (commands.empty() || word.starts_with('-')) return;
    const auto found =
        std::ranges::find(commands, word, [](const CLI::App* it) { return it->get_name(); });
    if (found == commands.end()) refuseCommand(*parent, word);
    parent = *found;
  }
}

template <typename Value>
CLI::Option* addAny(CLI::App& command, const char* name, Value& value, const char* description,
                    const OptionForm& form) {
  return formed(command.add_option(name, value, description), form);
}

}  // namespace

CommandLine::CommandLine(const char* description, const char* name, const char* version)
    : app(std::make_unique<CLI::App>(description, name)) {
  app->set_version_flag("--version", version, "Print the version");
  app->add_subcommand(kHelp, "Explain a command: help COMMAND");
}

CommandLine::~CommandLine() = default;

bool CommandLine::parse(int argc, char** argv) {
  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  const bool isHelp = !words.empty() && words.front() == kHelp;
  if (isHelp) words.erase(words.begin());
  checkCommands(*app, words);
  if (isHelp) words.emplace_back("--help");
  std::ranges::reverse(words);  // as the parser takes them
  try {
    app->parse(std::move(words));
    return true;
  } catch (const CLI::Success& answered) {  // --help, --version
    static_cast<void>(app->exit(answered));
    return false;
  } catch (const CLI::ParseError& fault) {
    throw WrongArguments(parserReason(fault));
  }
}

CLI::App& addCommand(CLI::App& parent, const char* name, const char* description) {
  return *parent.add_subcommand(name, description);
}

void setFooter(CLI::App& command, const char* text) { command.footer(text); }

void requireCommand(CLI::App& command) { command.require_subcommand(1); }

bool isChosen(const CLI::App& command) { return command.parsed(); }

CLI::Option* addOption(CLI::App& command, const char* name, std::string& value,
                       const char* description, const OptionForm& form) {
  return addAny(command, name, value, description, form);
}

CLI::Option* addOption(CLI::App& command, const char* name, std::vector<std::string>& values,
                       const char* description, const OptionForm& form) {
  return addAny(command, name, values, description, form);
}

CLI::Option* addOption(CLI::App& command, const char* name, int& value, const char* description,
                       const OptionForm& form) {
  return addAny(command, name, value, description, form);
}

CLI::Option* addOption(CLI::App& command, const char* name, double& value, const char* description,
                       const OptionForm& form) {
  return addAny(command, name, value, description, form);
}

CLI::Option* addOption(CLI::App& command, const char* name, const char* description,
                       const OptionForm& form) {
  const std::string text = description;  // const: a variable would be taken for the option's value
  return formed(command.add_option(name, text), form);
}

CLI::Option* addFlag(CLI::App& command, const char* name, bool& value, const char* description) {
  return command.add_flag(name, value, description);
}

void require(CLI::Option* option, CLI::Option* other) { option->needs(other); }

void exclude(CLI::Option* option, CLI::Option* other) { option->excludes(other); }

const std::vector<std::string>& valuesOf(const CLI::Option* option) { return option->results(); }

std::vector<const CLI::Option*> optionsInOrder(const CLI::App& command) {
  const auto& order = command.parse_order();
  return {order.begin(), order.end()};
}

void refuseEmptyNames(const std::vector<CLI::Option*>& options) {
  for (const CLI::Option* const option : options) {
    for (const std::string& text : option->results()) {
      if (text.empty()) throw WrongArguments(option->get_name() + ": the name is empty");
    }
  }
}
