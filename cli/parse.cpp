#include "cli/parse.h"

#include <CLI/CLI.hpp>

#include <list>

namespace cli {
namespace {

/// Where the parser puts what it reads for a command.
struct Slot {
  const Command* command;
  CLI::App* app;
  std::vector<std::pair<const Option*, CLI::Option*>> options;
};

CLI::Option* addOption(CLI::App& app, const Option& option) {
  if (option.takes == Option::Takes::kNothing) {
    return app.add_flag(option.names, option.help);
  }
  if (option.takes == Option::Takes::kMaybeValue) {
    // A flag takes its value from behind an equals sign only, never the next word.
    return app.add_flag(option.names, option.help)->type_name("[=" + option.value + "]");
  }
  CLI::Option* added = app.add_option(option.names, option.help);
  added->type_name(option.value.empty() ? "" : option.value)->required(option.required);
  if (option.takes == Option::Takes::kValues) {
    added->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
  } else {
    added->expected(1)->multi_option_policy(option.takes == Option::Takes::kEach ? CLI::MultiOptionPolicy::TakeAll
                                                                                 : CLI::MultiOptionPolicy::Throw);
  }
  if (!option.choices.empty()) {
    added->check(CLI::IsMember(option.choices));
  }
  return added;
}

void build(CLI::App& app, const Command& command, std::list<Slot>& slots) {
  Slot& slot = slots.emplace_back(Slot{&command, &app, {}});
  for (const Option& option : command.options) {
    slot.options.emplace_back(&option, addOption(app, option));
  }
  if (!command.commands.empty()) {
    // At most one, or a value that reads like a verb would be taken for one.
    app.require_subcommand(command.action ? 0 : 1, 1);
  }
  for (const Command& child : command.commands) {
    CLI::App* added = app.add_subcommand(child.name, child.help);
    added->fallthrough();
    if (child.isHidden) {
      added->group("");
    }
    build(*added, child, slots);
  }
}

QStringList valuesOf(const Option& option, const CLI::Option& parsed) {
  QStringList values;
  for (const std::string& value : parsed.results()) {
    const bool isBare = option.takes == Option::Takes::kMaybeValue && (value.empty() || value == "true");
    if (option.takes != Option::Takes::kNothing && !isBare) {
      values << QString::fromStdString(value);
    }
  }
  return values;
}

/// @throws CLI::ParseError when an option that takes a file names none, as with a
/// script's unset variable
Arguments argumentsOf(const Slot& slot) {
  Arguments arguments;
  for (const auto& [option, parsed] : slot.options) {
    if (parsed->count() == 0) {
      continue;
    }
    const QStringList values = valuesOf(*option, *parsed);
    if (option->value == "FILE" && values.contains(QString())) {
      throw CLI::ValidationError(option->names, "the name of the file is empty");
    }
    arguments.set(option->key(), values);
  }
  return arguments;
}

Invocation invocationOf(const Command& program, const std::list<Slot>& slots) {
  Invocation invocation{&program, {}, argumentsOf(slots.front()), {}};
  QStringList path;
  for (const Slot& slot : slots) {
    if (&slot != &slots.front() && slot.app->parsed()) {
      path << QString::fromStdString(slot.command->name);
      invocation.command = slot.command;
      invocation.arguments = argumentsOf(slot);
    }
  }
  invocation.path = path.join(QLatin1Char(' '));
  return invocation;
}

}  // namespace

std::variant<Invocation, HelpText, UsageError> parse(const Command& program, const QStringList& arguments) {
  CLI::App app(program.help, program.name);
  // A path may begin with a slash on Windows, too.
  app.allow_windows_style_options(false);
  std::list<Slot> slots;
  try {
    build(app, program, slots);
    std::vector<std::string> reversed;
    for (const QString& argument : arguments) {
      reversed.insert(reversed.begin(), argument.toStdString());
    }
    app.parse(std::move(reversed));
    return invocationOf(program, slots);
  } catch (const CLI::CallForHelp&) {
    return HelpText{QString::fromStdString(app.help())};
  } catch (const CLI::ParseError& error) {
    return UsageError{QString::fromStdString(error.what()).simplified()};
  }
}

}  // namespace cli
