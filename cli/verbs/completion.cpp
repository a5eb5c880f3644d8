#include "cli/program.h"
#include "cli/run.h"
#include "cli/verb.h"

#include <QStringList>

namespace cli {
namespace {

/// Where the user is on the command line, and what may come there.
struct Place {
  QString path;  // with a blank before each name: " serial set"
  QStringList words;
};

QStringList optionNames(const Option& option) {
  return option.isPositional() ? QStringList() : QString::fromStdString(option.names).split(',');
}

void collectPlaces(const Command& command, const QString& path, const QStringList& everywhere,
                   std::vector<Place>& places) {
  Place place{path, {}};
  for (const Command& child : command.commands) {
    if (!child.isHidden) {
      place.words << QString::fromStdString(child.name);
    }
  }
  for (const Option& option : command.options) {
    if (option.isPositional()) {
      for (const std::string& choice : option.choices) {
        place.words << QString::fromStdString(choice);
      }
    } else if (!path.isEmpty()) {
      place.words << optionNames(option);
    }
  }
  place.words << everywhere;
  places.push_back(place);
  for (const Command& child : command.commands) {
    if (!child.isHidden) {
      collectPlaces(child, path + ' ' + QString::fromStdString(child.name), everywhere, places);
    }
  }
}

std::vector<Place> allPlaces() {
  QStringList everywhere{"--help"};
  for (const Option& option : program().options) {
    everywhere << optionNames(option);
  }
  std::vector<Place> places;
  collectPlaces(program(), {}, everywhere, places);
  return places;
}

QString bashScript() {
  QString steps;
  QString words;
  for (const Place& place : allPlaces()) {
    if (!place.path.isEmpty()) {
      steps += QStringLiteral("      \"%1\") path=\"%1\" ;;\n").arg(place.path);
    }
    words += QStringLiteral("    \"%1\") words=\"%2\" ;;\n").arg(place.path, place.words.join(' '));
  }
  return QStringLiteral(
             "# Completion of pellavox-cli for bash.\n"
             "_pellavox_cli() {\n"
             "  local current=${COMP_WORDS[COMP_CWORD]} path= words= i\n"
             "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
             "    case \"$path ${COMP_WORDS[i]}\" in\n%1    esac\n"
             "  done\n"
             "  case \"$path\" in\n%2  esac\n"
             "  COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
             "  if [[ ${#COMPREPLY[@]} -eq 0 ]]; then COMPREPLY=($(compgen -f -- \"$current\")); fi\n"
             "}\n"
             "complete -F _pellavox_cli pellavox-cli\n")
      .arg(steps, words);
}

// zsh reads what bash does.
QString zshScript() { return "#compdef pellavox-cli\nautoload -U +X bashcompinit && bashcompinit\n" + bashScript(); }

QString quotedForFish(const std::string& text) {
  return '\'' + QString::fromStdString(text).replace('\\', "\\\\").replace('\'', "\\'") + '\'';
}

QString fishOptions(const Command& command, const QString& condition) {
  QString lines;
  for (const Option& option : command.options) {
    QString line = "complete -c pellavox-cli" + condition;
    for (const QString& name : optionNames(option)) {
      line += name.startsWith("--") ? " -l " + name.mid(2) : " -s " + name.mid(1);
    }
    QStringList choices;
    for (const std::string& choice : option.choices) {
      choices << QString::fromStdString(choice);
    }
    if (!choices.isEmpty()) {
      line += QStringLiteral(" -a '%1'").arg(choices.join(' '));
    }
    if (option.takes == Option::Takes::kValue && !option.isPositional()) {
      line += " -r";
    }
    if (!option.isPositional() || !choices.isEmpty()) {
      lines += line + " -d " + quotedForFish(option.help) + '\n';
    }
  }
  return lines;
}

QString fishCommands(const Command& command, const QString& condition) {
  QString lines = fishOptions(command, condition);
  QStringList names;
  for (const Command& child : command.commands) {
    if (!child.isHidden) {
      names << QString::fromStdString(child.name);
    }
  }
  for (const Command& child : command.commands) {
    if (child.isHidden) {
      continue;
    }
    const QString name = QString::fromStdString(child.name);
    const QString none = condition.isEmpty()
                             ? QString(" -n __fish_use_subcommand")
                             : condition.chopped(1) + "; and not __fish_seen_subcommand_from " + names.join(' ') + '\'';
    lines += "complete -c pellavox-cli" + none + " -a " + name + " -d " + quotedForFish(child.help) + '\n';
    lines += fishCommands(child, (condition.isEmpty() ? QString(" -n '") : condition.chopped(1) + "; and ") +
                                     "__fish_seen_subcommand_from " + name + '\'');
  }
  return lines;
}

QString powershellScript() {
  QString table;
  for (const Place& place : allPlaces()) {
    table += QStringLiteral("    '%1' = '%2' -split ' '\n").arg(place.path, place.words.join(' '));
  }
  return QStringLiteral(
             "# Completion of pellavox-cli for PowerShell.\n"
             "Register-ArgumentCompleter -Native -CommandName pellavox-cli -ScriptBlock {\n"
             "  param($current, $line, $position)\n"
             "  $places = @{\n%1  }\n"
             "  $path = ''\n"
             "  foreach ($element in $line.CommandElements | Select-Object -Skip 1) {\n"
             "    if ($places.ContainsKey(\"$path $element\")) { $path = \"$path $element\" }\n"
             "  }\n"
             "  $places[$path] | Where-Object { $_ -like \"$current*\" }\n"
             "}\n")
      .arg(table);
}

void printCompletion(Run& run, const Arguments& arguments) {
  const QString shell = arguments.text("SHELL");
  const QString script = shell == "bash"   ? bashScript()
                         : shell == "zsh"  ? zshScript()
                         : shell == "fish" ? "complete -c pellavox-cli -f\n" + fishCommands(program(), {})
                                           : powershellScript();
  run.writeData(script.toUtf8());
}

}  // namespace

Command completionVerb() {
  return {"completion",
          "Print the completion script for a shell",
          {{"SHELL", "The shell", Option::Takes::kValue, "", {"bash", "zsh", "fish", "powershell"}, true}},
          {},
          printCompletion};
}

}  // namespace cli
