/// @file
/// The recording library as programs find it: under the device library's name.
#include "gate/loaded_file.h"
#include "recorder/recording.h"
#include "tests/recorder/through.h"

#include <QTest>

#include <array>

namespace {

using device::Operation;

// Linked on Linux, so that its functions precede those of the library it loads, as in a
// real program. Windows would look in this test's folder first.
decltype(&::AT_Get_UVC_Name) nameFunction() {
#ifdef Q_OS_WIN
  return reinterpret_cast<decltype(&::AT_Get_UVC_Name)>(
      gate::LoadedFile::open(RECORDING_LIBRARY)->find("AT_Get_UVC_Name"));
#else
  return &::AT_Get_UVC_Name;
#endif
}

}  // namespace

class RecordingLibraryTest : public QObject {
  Q_OBJECT

 private slots:
  void theLibrarysOwnCallsAreNotTheProgramsAndTheHeaderNamesTheLibrary() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "calls.jsonl");
    qputenv("PELLAVOX_RECORDED_LIBRARY", SELF_CALLING_LIBRARY);
    qputenv("PELLAVOX_RECORDING", QByteArray::fromStdString(recorder::utf8Of(file)));
    std::array<std::uint8_t, 100> buffer{};
    std::uint32_t length = 0;
    QCOMPARE(nameFunction()(buffer.data(), 100, &length), 0);
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(buffer.data())), QByteArray("inner"));

    const auto recording = recorder::readRecording(file);
    QVERIFY2(recording.has_value(), recording ? "" : recording.error().text().c_str());
    QCOMPARE(recording->calls.size(), std::size_t{1});
    QVERIFY(recording->calls[0].image.operation == Operation::AT_Get_UVC_Name);
    QCOMPARE(recording->header.library, recorder::utf8Of(std::filesystem::path(SELF_CALLING_LIBRARY).filename()));
    QCOMPARE(recording->header.librarySha256, recorder::markOf(SELF_CALLING_LIBRARY).hash);
    QVERIFY(!recording->header.simulated);
  }
};

QTEST_GUILESS_MAIN(RecordingLibraryTest)
#include "recording_library_test.moc"
