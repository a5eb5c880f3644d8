#include "cli/checks.h"
#include "cli/program.h"
#include "cli/run.h"
#include "cli/verb.h"
#include "cli/version.h"

#include <array>

namespace cli {
namespace {

struct ExitLine {
  int code;
  const char* meaning;
};

constexpr std::array kExitLines{
    ExitLine{0, "done, or nothing needed doing"},
    ExitLine{1, "failed; the device can be used. Also: a value could not be read"},
    ExitLine{2, "the command line is wrong; nothing touched"},
    ExitLine{3, "no device or no connection"},
    ExitLine{4, "device library missing or wrong"},
    ExitLine{5, "input refused, nothing written"},
    ExitLine{6, "written, but reads back differently"},
    ExitLine{7, "written, but could not be checked"},
    ExitLine{8, "another instance holds the device"},
    ExitLine{9, "the device needs recovery; the next command is printed"},
    ExitLine{10, "confirmation missing or declined"},
    ExitLine{11, "a replay, a recording or a ledger is not as it was recorded"},
    ExitLine{12, "the ledger of a station cannot be used"},
    ExitLine{130, "interrupted before any write"},
};

QString roff(const std::string& text) {
  return QString::fromStdString(text).replace('\\', "\\e").replace('-', "\\-").replace('\n', ' ');
}

QString optionEntry(const Option& option) {
  QString value = option.value.empty() ? QString() : " \\fI" + roff(option.value) + "\\fR";
  if (option.takes == Option::Takes::kMaybeValue) {
    value = "[=\\fI" + roff(option.value) + "\\fR]";
  }
  QString choices;
  for (const std::string& choice : option.choices) {
    choices += (choices.isEmpty() ? " (" : ", ") + roff(choice);
  }
  return QStringLiteral(".TP\n\\fB%1\\fR%2\n%3%4.\n")
      .arg(roff(option.names), value, roff(option.help), choices.isEmpty() ? choices : choices + ')');
}

QString commandEntries(const Command& command, const QString& path) {
  QString text;
  for (const Command& child : command.commands) {
    if (child.isHidden) {
      continue;
    }
    const QString name = path + roff(child.name);
    QString line = name;
    for (const Option& option : child.options) {
      if (option.isPositional()) {
        line += (option.required ? QString(" %1") : QString(" [%1]")).arg(roff(option.names));
      }
    }
    text += QStringLiteral(".SS %1\n%2.\n").arg(line, roff(child.help));
    for (const Option& option : child.options) {
      text += optionEntry(option);
    }
    text += commandEntries(child, name + ' ');
  }
  return text;
}

void printManual(Run& run, const Arguments&) {
  const Command& whole = program();
  QString page = QStringLiteral(".TH PELLAVOX\\-CLI 1 \"\" \"Pellavox %1\" \"User commands\"\n").arg(kVersionText);
  page += ".SH NAME\npellavox\\-cli \\- " + roff(whole.help) + "\n";
  page += ".SH SYNOPSIS\n\\fBpellavox\\-cli\\fR [\\fIoptions\\fR] \\fIverb\\fR ...\n.SH OPTIONS\n";
  for (const Option& option : whole.options) {
    page += optionEntry(option);
  }
  page += ".SH VERBS\n" + commandEntries(whole, {});
  page += ".SH CHECKS\nWhat \\-\\-force lifts:\n";
  for (const Check& check : allChecks()) {
    page += QStringLiteral(".TP\n\\fB%1\\fR\n%2.\n").arg(roff(check.name), roff(check.what));
  }
  page += ".SH EXIT STATUS\n";
  for (const ExitLine& line : kExitLines) {
    page += QStringLiteral(".TP\n\\fB%1\\fR\n%2.\n").arg(line.code).arg(roff(line.meaning));
  }
  run.writeData(page.toUtf8());
}

}  // namespace

Command manualVerb() {
  Command verb{"manual", "Print the manual page", {}, {}, printManual};
  verb.isHidden = true;
  return verb;
}

}  // namespace cli
