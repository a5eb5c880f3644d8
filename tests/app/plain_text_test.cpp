#include "simulator/control/control.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/window_fixture.h"

#include <QImage>
#include <QLabel>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolTip>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#if defined(Q_OS_LINUX)
#include <sys/inotify.h>
#include <unistd.h>
#endif

namespace {

/// Counts how often a file is opened; always 0 on systems that cannot tell.
class OpenCounter {
 public:
  explicit OpenCounter([[maybe_unused]] const QString& path) {
#if defined(Q_OS_LINUX)
    inotify_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (inotify_ < 0 || inotify_add_watch(inotify_, QFile::encodeName(path).constData(), IN_OPEN) < 0) {
      qFatal("the file cannot be watched");
    }
#endif
  }
  Q_DISABLE_COPY_MOVE(OpenCounter)
  ~OpenCounter() {
#if defined(Q_OS_LINUX)
    ::close(inotify_);
#endif
  }

  bool wasOpened() const {
#if defined(Q_OS_LINUX)
    alignas(inotify_event) std::array<char, 4096> events{};
    return ::read(inotify_, events.data(), events.size()) > 0;
#else
    return false;
#endif
  }

 private:
  int inotify_ = -1;
};

struct Place {
  const char* label;
  const char* operation;
  int capacity;      // of the buffer that the window passes, in bytes
  bool tellsLength;  // the operation returns the text's length, too
};

constexpr std::array kPlaces{
    Place{"lb_FW_VER_QX", "AT_Get_Customer_Ver", 128, false},
    Place{"label_UVC_NAME", "AT_Get_UVC_Name", 100, false},
    Place{"label_IManufacturer", "AT_USB_Get_iManufacturer", 64, true},
    Place{"label_IProduct", "AT_USB_Get_iProduct", 64, true},
};

std::vector<std::uint8_t> bytesOf(const QByteArray& text, int capacity) {
  const QByteArray cut = text.left(capacity);
  std::vector<std::uint8_t> bytes(cut.begin(), cut.end());
  if (cut.size() < capacity) {
    bytes.push_back(0);
  }
  return bytes;
}

QImage pictureOf(QWidget& widget) { return widget.grab().toImage().convertToFormat(QImage::Format_RGB32); }

/// The picture with one part blanked.
QImage without(QImage picture, const QRect& part) {
  for (int y = part.top(); y <= part.bottom(); ++y) {
    for (int x = part.left(); x <= part.right(); ++x) {
      if (picture.rect().contains(x, y)) {
        picture.setPixel(x, y, 0);
      }
    }
  }
  return picture;
}

/// Records the text format of message boxes' labels.
class BoxWatcher : public QObject {
 public:
  BoxWatcher() { QCoreApplication::instance()->installEventFilter(this); }
  QStringList texts;
  QVector<Qt::TextFormat> formats;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    const auto* const label = qobject_cast<const QLabel*>(watched);
    if (event->type() == QEvent::Show && label != nullptr && label->objectName() == "qt_msgbox_label") {
      texts << label->text();
      formats << label->textFormat();
    }
    return false;
  }
};

}  // namespace

/// Names of devices and files are shown literally, even if they look like markup.
/// Checks what is painted and which files are opened.
class PlainTextTest : public WindowTest {
  Q_OBJECT

 private slots:
  void textsOfTheDeviceArePaintedLiterally_data() {
    QTest::addColumn<int>("place");
    QTest::addColumn<QByteArray>("text");
    const std::initializer_list<std::pair<const char*, QByteArray>> texts{
        {"markup", "<h1>V1</h1><hr><font color=red>x</font>"},
        {"table", "<table border=9><tr><td>1<td>2</table>"},
        {"picture", "<img src='PICTURE'>"},
        {"entities", "&lt;b&gt; &amp; &#65; &copy;"},
        {"shortcut", "V1.&0&4 && more"},
        {"bidirectional marks",
         "V\xE2\x80\xAE"
         "1.04\xE2\x80\xAC \xE2\x81\xA6x\xE2\x81\xA9 \xE2\x80\x8F"
         "end"},
        {"control characters",
         "V1\x01\x07\x1B[31m\t2\r\n3\v\f\x7F\xC2\x85"
         "4"},
        {"wide letters", QByteArray(128, 'W')},
        {"wide characters", QByteArray("\xE6\xBC\xA2").repeated(42)},
        {"broken UTF-8", "\xF0\x9F\xFF\xC3(<b>\x80"},
    };
    for (std::size_t place = 0; place < kPlaces.size(); ++place) {
      for (const auto& [name, text] : texts) {
        QTest::addRow("%s, %s", kPlaces[place].label, name) << static_cast<int>(place) << text;
      }
    }
  }

  void textsOfTheDeviceArePaintedLiterally() {
    QFETCH(int, place);
    QFETCH(QByteArray, text);
    // Short enough for the smallest buffer.
    const QTemporaryDir directory(QDir::tempPath() + "/XXXXXX");
    const QString picture = directory.filePath("p.png");
    QImage red(300, 15, QImage::Format_RGB32);
    red.fill(Qt::red);
    QVERIFY(red.save(picture));
    const OpenCounter counter(picture);
    text.replace("PICTURE", QFile::encodeName(picture));

    const Place& where = kPlaces[static_cast<std::size_t>(place)];
    const std::vector<std::uint8_t> answer = bytesOf(text, where.capacity);
    simulator::answerCall(where.operation, 1, where.tellsLength ? static_cast<int>(answer.size()) : 0, answer);
    auto& label = user.widget<QLabel>(where.label);
    showPageOf(user, label);
    window().show();
    QVERIFY(QTest::qWaitForWindowExposed(&window()));
    user.click("BN_Connect");
    QCOMPARE(user.message(), "Device Connected");
    QVERIFY(label.text() != "N/A");

    const QImage shown = pictureOf(window());
    QVERIFY2(!counter.wasOpened(), "a text of the device opened a file");
    // The same window with the label restricted to plain text.
    const QString whole = label.text();
    label.clear();
    label.setTextFormat(Qt::PlainText);
    const QImage empty = pictureOf(window());
    label.setText(whole);
    QCOMPARE(pictureOf(window()), shown);
    QVERIFY2(empty != shown, "the text is not to be seen");
    // A text that is too long or too high stays within its rectangle.
    const QRect own(label.mapTo(&window(), QPoint(0, 0)), label.size());
    QCOMPARE(without(empty, own), without(shown, own));
  }

  void everyLabelPaintsMarkupLiterally() {
    const QString markup = "<b>V1</b>&lt;<hr>";
    const QList<QLabel*> labels = window().findChildren<QLabel*>();
    QVERIFY(labels.size() > 80);
    for (QLabel* const label : labels) {
      QVERIFY2(label->textFormat() == Qt::PlainText, qPrintable(label->objectName()));
      label->setText(markup);
      const QImage shown = pictureOf(*label);
      QLabel plain(label->parentWidget());
      plain.setTextFormat(Qt::PlainText);
      plain.setGeometry(label->geometry());
      plain.setIndent(label->indent());
      plain.setScaledContents(label->hasScaledContents());
      plain.setText(markup);
      QVERIFY2(pictureOf(plain) == shown, qPrintable(label->objectName()));
    }
  }

  void aSerialNumberWithMarkupIsShownLiterally() {
    simulator::answerCall("AT_USB_Get_SerialNum", 1, 0, bytesOf("<b>7</b>&amp;", 100));
    user.click("BN_Connect");
    user.click("BN_SN_Read");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "<b>7</b>&amp;");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").displayText(), "<b>7</b>&amp;");
  }

#if !defined(Q_OS_WIN)  // Windows does not allow such a file name
  void theReplaceQuestionShowsTheFileNameLiterally() {
    const QTemporaryDir directory;
    const QString path = directory.filePath("<h1>mark&amp;up.bin");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    user.click("BN_Connect");
    const BoxWatcher watcher;
    DialogAnswers answers;
    answers.chooseFile(path);
    user.click("BN_Apply_ReadTxEDID");
    QCOMPARE(watcher.texts.size(), 1);
    QVERIFY2(watcher.texts.first().contains("<h1>mark&amp;up.bin"), qPrintable(watcher.texts.first()));
    QCOMPARE(watcher.formats.first(), Qt::PlainText);
  }
#endif

  void toolTipsShowPlainText() {
    window().show();
    QVERIFY(QTest::qWaitForWindowExposed(&window()));
    QToolTip::showText(window().mapToGlobal(QPoint(10, 10)), "/media/<h1>stick</h1>", &window());
    const QWidgetList all = QApplication::allWidgets();
    const auto tip =
        std::find_if(all.begin(), all.end(), [](const QWidget* widget) { return widget->inherits("QTipLabel"); });
    QVERIFY(tip != all.end());
    QCOMPARE(qobject_cast<const QLabel*>(*tip)->textFormat(), Qt::PlainText);
  }

 private:
  // Gives a page without a tab one, so that its labels are painted.
  static void showPageOf(const WindowDriver& user, const QWidget& widget) {
    auto& tabs = user.widget<QTabWidget>("tabWidget");
    for (const char* const name : {"tab", "tab_2", "tab_3", "VideoTab", "AudioTab", "EDIDtab", "DebugTab"}) {
      auto& page = user.widget<QWidget>(name);
      if (page.isAncestorOf(&widget)) {
        tabs.setCurrentIndex(tabs.indexOf(&page) >= 0 ? tabs.indexOf(&page) : tabs.addTab(&page, name));
      }
    }
  }
};

QTEST_MAIN(PlainTextTest)
#include "plain_text_test.moc"
