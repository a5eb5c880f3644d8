#include "cli/run.h"

#include "cli/failure.h"
#include "cli/interruption.h"
#include "device/printable.h"

namespace cli {

void Run::finish(const Document& document) {
  writeData(globals_.json ? document.value().json() + '\n' : document.text().toUtf8());
  if (!document.isComplete()) {
    exitCode_ = ExitCode::kFailed;
  }
}

void Run::printLine(const QByteArray& line) { writeData(line + '\n'); }

void Run::writeData(const QByteArray& bytes) {
  if (!console_.out(bytes)) {
    throw Failure(ExitCode::kFailed, "cannot write to standard output");
  }
}

void Run::hint(const QString& text) {
  if (!globals_.quiet) {
    console_.err(device::printable(text).toUtf8() + '\n');
  }
}

void Run::require(const Check& check, bool holds, const QString& message) {
  if (holds) {
    return;
  }
  if (globals_.forced.contains(QLatin1String(check.name))) {
    isForced_ = true;
    hint(QStringLiteral("%1 (lifted by --force=%2)").arg(message, QLatin1String(check.name)));
    return;
  }
  Failure failure(ExitCode::kRefused, message);
  failure.check = QLatin1String(check.name);
  throw failure;
}

void Run::confirm(Weight weight, const QString& question, const QString& word) {
  stopIfInterrupted();
  if (weight == Weight::kIrreversible || isForced_) {
    confirmWord(question, isForced_ ? QString(kForceWord) : word);
    return;
  }
  if (weight == Weight::kHarmless || globals_.yes) {
    return;
  }
  if (!console_.asksAtTerminal) {
    throw Failure(ExitCode::kUnconfirmed, question + " There is no terminal to ask at: confirm with -y");
  }
  console_.err(device::printable(question).toUtf8() + " [y/N] ");
  const QString answer = console_.readLine().value_or(QString()).trimmed();
  stopIfInterrupted();
  if (answer.compare(QLatin1String("y"), Qt::CaseInsensitive) != 0 &&
      answer.compare(QLatin1String("yes"), Qt::CaseInsensitive) != 0) {
    throw Failure(ExitCode::kUnconfirmed, "not confirmed, nothing written");
  }
}

void Run::confirmWord(const QString& question, const QString& word) {
  QString given = globals_.confirmation;
  if (given.isEmpty()) {
    if (!console_.asksAtTerminal) {
      throw Failure(ExitCode::kUnconfirmed,
                    QStringLiteral("%1 There is no terminal to ask at: confirm with --confirm=%2").arg(question, word));
    }
    console_.err(device::printable(QStringLiteral("%1 Type \"%2\" to go on: ").arg(question, word)).toUtf8());
    given = console_.readLine().value_or(QString()).trimmed();
    stopIfInterrupted();
  }
  if (given != word) {
    throw Failure(ExitCode::kUnconfirmed,
                  QStringLiteral("not confirmed, nothing written: the word is \"%1\"").arg(word));
  }
}

void Run::stopIfInterrupted() const {
  if (interruption::isRequested()) {
    throw Failure(ExitCode::kInterrupted, "interrupted, nothing written");
  }
}

QString reasonOf(const device::Failure& failure) { return QStringLiteral("status %1").arg(failure.status); }

}  // namespace cli
