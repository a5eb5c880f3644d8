#include "app/x11_resolution.h"

#include "tests/support/ended_process.h"
#include "tests/support/virtual_screen.h"

#include <QTest>

#include <xcb/xcb.h>

Q_DECLARE_METATYPE(std::optional<int>)

namespace {

QByteArray numberBytes(std::uint32_t number, int size, bool isBig) {
  QByteArray bytes;
  for (int i = 0; i < size; ++i) {
    const int place = isBig ? size - 1 - i : i;
    bytes += static_cast<char>(number >> (8 * place) & 0xFF);
  }
  return bytes;
}

QByteArray padded(const QByteArray& bytes) { return bytes + QByteArray((4 - bytes.size() % 4) % 4, '\0'); }

QByteArray setting(int type, const QByteArray& name, const QByteArray& value, bool isBig) {
  return numberBytes(static_cast<std::uint32_t>(type), 1, isBig) + '\0' +
         numberBytes(static_cast<std::uint32_t>(name.size()), 2, isBig) + padded(name) + numberBytes(1, 4, isBig) +
         value;
}

/// A desktop's settings with one of each kind before the resolution.
QByteArray settings(std::uint32_t dpi, bool isBig) {
  const QByteArray text("Adwaita");
  return QByteArray(1, isBig ? '\1' : '\0') + QByteArray(3, '\0') + numberBytes(7, 4, isBig) +
         numberBytes(4, 4, isBig) + setting(0, "Xft/Hinting", numberBytes(1, 4, isBig), isBig) +
         setting(1, "Net/ThemeName", numberBytes(static_cast<std::uint32_t>(text.size()), 4, isBig) + padded(text),
                 isBig) +
         setting(2, "Some/Colour", QByteArray(8, '\1'), isBig) +
         setting(0, "Xft/DPI", numberBytes(dpi * 1024, 4, isBig), isBig);
}

/// What somebody with a desktop leaves at an X server, as long as this lives.
class Desktop {
 public:
  explicit Desktop(const QString& display) : connection_(xcb_connect(display.toLatin1().constData(), nullptr)) {
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
  }
  Q_DISABLE_COPY_MOVE(Desktop)
  ~Desktop() { xcb_disconnect(connection_); }

  void setResources(const QByteArray& resources) { put(root_, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, resources); }

  void setSettings(const QByteArray& content) {
    const xcb_window_t owner = xcb_generate_id(connection_);
    xcb_create_window(connection_, 0, owner, root_, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, 0, 0, nullptr);
    const xcb_atom_t name = atom("_XSETTINGS_SETTINGS");
    put(owner, name, name, content);
    xcb_set_selection_owner(connection_, owner, atom("_XSETTINGS_S0"), XCB_CURRENT_TIME);
    atom("here");  // what was asked before is done when this is answered
  }

 private:
  xcb_atom_t atom(const QByteArray& name) {
    const auto asked = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.constData());
    xcb_intern_atom_reply_t* const reply = xcb_intern_atom_reply(connection_, asked, nullptr);
    const xcb_atom_t found = reply->atom;
    std::free(reply);
    return found;
  }

  void put(xcb_window_t window, xcb_atom_t name, xcb_atom_t type, const QByteArray& content) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, name, type, 8,
                        static_cast<std::uint32_t>(content.size()), content.constData());
    atom("here");
  }

  xcb_connection_t* connection_;
  xcb_window_t root_ = 0;
};

}  // namespace

/// What an X server tells of its screen's resolution, and that Qt takes the same.
class X11ResolutionTest : public QObject {
  Q_OBJECT

 private slots:
  void resourcesNameIt_data() {
    QTest::addColumn<QByteArray>("resources");
    QTest::addColumn<std::optional<int>>("expected");
    const auto row = [](const char* name, const char* resources, std::optional<int> expected) {
      QTest::newRow(name) << QByteArray(resources) << expected;
    };
    row("none", "", std::nullopt);
    row("others only", "*background:\twhite\nXft.antialias:\t1\n", std::nullopt);
    row("among others", "Xft.antialias:\t1\nXft.dpi:\t120\nXft.rgba:\tnone\n", 120);
    row("with a fraction", "Xft.dpi:\t119.6\n", 120);
    row("twice: the last", "Xft.dpi:\t96\nXft.dpi:\t144\n", 144);
    row("no number", "Xft.dpi:\tlarge\n", std::nullopt);
    row("no tab", "Xft.dpi: 120\n", std::nullopt);
    row("beyond reason", "Xft.dpi:\t1e300\n", std::nullopt);
    row("negative", "Xft.dpi:\t-120\n", std::nullopt);
  }
  void resourcesNameIt() {
    QFETCH(QByteArray, resources);
    QFETCH(std::optional<int>, expected);
    QVERIFY(resolutionInResources(resources) == expected);
  }

  void settingsNameItInEitherByteOrder() {
    QVERIFY(resolutionInSettings(settings(144, false)) == 144);
    QVERIFY(resolutionInSettings(settings(144, true)) == 144);
  }

  void cutSettingsNameNothing() {
    const QByteArray whole = settings(144, false);
    for (int size = 0; size < whole.size(); ++size) {
      // A copy of that size, so that a sanitizer sees what is read beyond it.
      QVERIFY(!resolutionInSettings(QByteArray(whole.constData(), size)));
    }
  }

  void anUnknownKindOfSettingEndsThem() {
    QByteArray content = settings(144, false);
    content[12] = '\7';
    QVERIFY(!resolutionInSettings(content));
  }

  void qtTakesTheSame_data() {
    QTest::addColumn<int>("dpi");
    QTest::addColumn<QByteArray>("resources");
    QTest::addColumn<QByteArray>("settings");
    const QByteArray none;
    const QByteArray resources("Xft.dpi:\t120\n");
    QTest::newRow("a plain screen") << 96 << none << none;
    QTest::newRow("a coarse screen") << 60 << none << none;
    QTest::newRow("a dense screen") << 163 << none << none;
    QTest::newRow("resources") << 96 << resources << none;
    QTest::newRow("resources with a fraction") << 96 << QByteArray("Xft.dpi:\t143.7\n") << none;
    QTest::newRow("settings") << 96 << none << settings(144, false);
    QTest::newRow("settings of the other byte order") << 96 << none << settings(144, true);
    QTest::newRow("both") << 96 << resources << settings(144, false);
    QTest::newRow("settings of 0") << 163 << resources << settings(0, false);
  }
  void qtTakesTheSame() {
    QFETCH(int, dpi);
    QFETCH(QByteArray, resources);
    QFETCH(QByteArray, settings);
    const VirtualScreen screen(dpi);
    Desktop desktop(screen.name());
    if (!resources.isEmpty()) {
      desktop.setResources(resources);
    }
    if (!settings.isEmpty()) {
      desktop.setSettings(settings);
    }
    qputenv("DISPLAY", screen.name().toLatin1());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* const variable : {"QT_FONT_DPI", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"}) {
      environment.remove(variable);
    }
    environment.insert("QT_QPA_PLATFORM", "xcb");
    const EndedProcess qt = runToEnd(QT_RESOLUTION, {}, {}, environment);
    QCOMPARE(qt.code, 0);
    const std::optional<double> ours = x11Resolution();
    QVERIFY(ours);
    QVERIFY2(qAbs(*ours - qt.out.toDouble()) < 0.001, qPrintable(QString::number(*ours) + " and " + qt.out));
  }

  void withoutAServerNothingIsTold() {
    qputenv("DISPLAY", ":no-such-display");
    QVERIFY(!x11Resolution());
  }
};

QTEST_GUILESS_MAIN(X11ResolutionTest)
#include "x11_resolution_test.moc"
