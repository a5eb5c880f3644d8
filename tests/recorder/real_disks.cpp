/// @file
/// Programs recorded onto a full or read-only disk: they run as if not recorded, and one
/// line reports the loss.
/// Usage: recorder_real_disks
/// Exit code 77 if this user may not mount a disk.
#include "tests/recorder/command_line.h"
#include "tests/support/mounted_disk.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>
#include <optional>

namespace {

constexpr int kDiskKiB = 256;
constexpr qint64 kBlock = 4096;

class Disks {
 public:
  Disks() {
    QDir(folder_.path()).mkpath("disk");
    QFile image(folder_.filePath("capture.img"));
    image.open(QIODevice::WriteOnly);
    image.write("KVR-7 V1.04.00" + QByteArray(20'000, 'x'));
  }

  void tryAll() {
    for (const QString line : {"info", "-j -y --progress=none capture burn IMAGE"}) {
      QStringList program = line.split(' ');
      program.replaceInStrings("IMAGE", folder_.filePath("capture.img"));
      program.prepend(COMMAND_LINE);
      expected_ = runToEnd(program.first(), program.mid(1));
      onReadOnlyDisk(program);
      for (const qint64 blocks : {0, 1, 2, 3}) {
        onFullDisk(program, blocks * kBlock, {});
        onFullDisk(program, blocks * kBlock, "1500");
      }
    }
  }

  int problems = 0;
  int told = 0;
  int whole = 0;

 private:
  QString recording() const { return folder_.filePath("disk/rec.jsonl"); }

  EndedProcess record(const QStringList& program, const QString& partSize) const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!partSize.isEmpty()) {
      environment.insert("PELLAVOX_RECORDING_PART_SIZE", partSize);
    }
    return run(QStringList{"record", "-o", recording(), "--"} + program, environment);
  }

  void require(bool holds, const QString& what, const EndedProcess& ended) {
    if (!holds) {
      ++problems;
      std::printf("%s: code %d\n%s%s\n", qPrintable(what), ended.code, ended.out.constData(), ended.err.constData());
    }
  }

  void requireUndisturbed(const QString& what, const EndedProcess& ended) {
    require(ended.code == expected_.code && ended.out == expected_.out, what + ": the program was disturbed", ended);
  }

  void onReadOnlyDisk(const QStringList& program) {
    MountedDisk disk(folder_.filePath("disk"), kDiskKiB);
    if (!disk.problem().isEmpty() || !disk.setReadOnly(true)) {
      return require(false, "cannot mount a read-only disk: " + disk.problem(), {});
    }
    const EndedProcess ended = record(program, {});
    const QString what = "read-only, " + program.mid(1).join(' ');
    requireUndisturbed(what, ended);
    require(ended.err.startsWith("pellavox recorder: cannot create ") && ended.err.count('\n') == 1,
            what + ": the loss is not told once", ended);
    ++told;
  }

  void onFullDisk(const QStringList& program, qint64 left, const QString& partSize) {
    MountedDisk disk(folder_.filePath("disk"), kDiskKiB);
    if (!disk.problem().isEmpty() || !disk.fillUpTo(left)) {
      return require(false, "cannot fill a disk: " + disk.problem(), {});
    }
    const EndedProcess ended = record(program, partSize);
    const QString what =
        QStringLiteral("%1 bytes left, parts of %2, %3").arg(left).arg(partSize, program.mid(1).join(' '));
    requireUndisturbed(what, ended);
    disk.makeRoom();
    if (ended.err.isEmpty()) {
      ++whole;
      const EndedProcess checked = runToEnd(COMMAND_LINE, {"recording", "check", recording()});
      return require(checked.code == 0, what + ": no loss was reported, but the recording is incomplete", checked);
    }
    ++told;
    require(ended.err.startsWith("pellavox recorder: cannot ") && ended.err.count('\n') == 1,
            what + ": the loss is not told once", ended);
    // The part that fitted can be read.
    if (QFileInfo(recording()).size() > 0) {
      const EndedProcess shown = runToEnd(COMMAND_LINE, {"recording", "show", recording()});
      require(shown.code == 0, what + ": the rest cannot be shown", shown);
    }
  }

  QTemporaryDir folder_;
  EndedProcess expected_;
};

}  // namespace

int main(int argc, char** argv) {
  if (const QString reason = enterOwnMounts(); !reason.isEmpty()) {
    std::printf("skipped: %s\n", qPrintable(reason));
    return kSkipped;
  }
  const QCoreApplication application(argc, argv);
  Disks disks;
  disks.tryAll();
  std::printf("%s: %d losses reported once, %d recordings whole, %d problems\n", disks.problems == 0 ? "good" : "BAD",
              disks.told, disks.whole, disks.problems);
  return disks.problems == 0 && disks.told > 0 && disks.whole > 0 ? 0 : 1;
}
