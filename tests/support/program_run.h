#pragma once

#include <QElapsedTimer>
#include <QProcess>

/// One run of a program, from its start to its end.
struct ProgramRun {
  bool ended = false;  ///< by itself, not by a signal, within a minute
  int exitCode = -1;
  qint64 milliseconds = 0;
  QByteArray output;
  QByteArray errors;

  /// Whether standard error has no report of a sanitizer, Qt or the C++ runtime.
  bool isQuiet() const {
    for (const char* sign : {"Sanitizer", "runtime error", "QThread", "QMutex", "terminate"}) {
      if (errors.contains(sign)) {
        return false;
      }
    }
    return true;
  }
};

/// Environment in which a script operates the shipped program; tests/probe/probe.cpp
/// describes the steps.
inline QProcessEnvironment scriptEnvironment(
    const QString& plugins, const QString& script,
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment()) {
  environment.insert("QT_PLUGIN_PATH", plugins);
  environment.insert("QT_QPA_GENERIC_PLUGINS", "pellavoxprobe");
  environment.insert("PELLAVOX_PROBE_SCRIPT", script);
  return environment;
}

/// Runs the program and operates its window with a script.
inline ProgramRun runScript(const QString& program, const QString& plugins, const QString& script,
                            const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
  QProcess process;
  process.setProcessEnvironment(scriptEnvironment(plugins, script, environment));
  QElapsedTimer time;
  time.start();
  process.start(program, QStringList());
  ProgramRun run;
  run.ended = process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit;
  if (process.state() != QProcess::NotRunning) {
    process.kill();
    process.waitForFinished();
  }
  run.exitCode = process.exitCode();
  run.milliseconds = time.elapsed();
  run.output = process.readAllStandardOutput();
  run.errors = process.readAllStandardError();
  return run;
}
