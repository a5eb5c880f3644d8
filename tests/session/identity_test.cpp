#include "session/identity.h"

#include "session/device_types.h"

#include <QTest>

#include <array>
#include <climits>

class IdentityTest : public QObject {
  Q_OBJECT

 private slots:
  void deviceTypesHaveTheirIds_data() {
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("pid");
    QTest::newRow("KVR-7") << 0 << "6B03";
    QTest::newRow("KVR-5B") << 1 << "6B02";
    QTest::newRow("no row") << -1 << "6B02";
    QTest::newRow("row of no device") << 2 << "6B02";
  }

  void deviceTypesHaveTheirIds() {
    QFETCH(int, row);
    QFETCH(QString, pid);
    QCOMPARE(session::deviceIds(row).vid, "5C19");
    QCOMPARE(session::deviceIds(row).pid, pid);
  }

  void everyMainVersionShowsItsNibblesInDecimal() {
    QCOMPARE(session::mainVersionText(0x00), "v0.0");
    QCOMPARE(session::mainVersionText(0x12), "v1.2");
    QCOMPARE(session::mainVersionText(0x1A), "v1.10");
    QCOMPARE(session::mainVersionText(0xF0), "v15.0");
    QCOMPARE(session::mainVersionText(0xFF), "v15.15");
    for (int version = 0; version < 256; ++version) {
      const QString text = session::mainVersionText(static_cast<std::uint8_t>(version));
      QCOMPARE(text, "v" + QString::number(version / 16) + "." + QString::number(version % 16));
    }
  }

  void aUsbStringEndsAtItsLengthAtANulOrAtTheBuffer_data() {
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<int>("length");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << QByteArray("Orvenhal\0\0", 10) << 8 << "Orvenhal";
    QTest::newRow("length before NUL") << QByteArray("Orvenhal\0\0", 10) << 4 << "Orve";
    QTest::newRow("NUL before length") << QByteArray("Orv\0nhal", 8) << 8 << "Orv";
    QTest::newRow("unterminated") << QByteArray(100, 'x') << 100 << QString(100, 'x');
    QTest::newRow("length over the buffer") << QByteArray(100, 'x') << 101 << QString(100, 'x');
    QTest::newRow("largest length") << QByteArray(100, 'x') << INT_MAX << QString(100, 'x');
    QTest::newRow("failed") << QByteArray("left over", 9) << -1 << "";
    QTest::newRow("smallest length") << QByteArray("left over", 9) << INT_MIN << "";
    QTest::newRow("Latin-1") << QByteArray("Caf\xE9", 4) << 4 << QString::fromLatin1("Caf\xE9");
  }

  void aUsbStringEndsAtItsLengthAtANulOrAtTheBuffer() {
    QFETCH(QByteArray, buffer);
    QFETCH(int, length);
    QFETCH(QString, text);
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(buffer.constData()),
                          static_cast<std::size_t>(buffer.size()));
    QCOMPARE(session::usbStringText(bytes, length), text);
  }
};

QTEST_APPLESS_MAIN(IdentityTest)
#include "identity_test.moc"
