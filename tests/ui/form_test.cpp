#include "tests/ui/form_looks.h"
#include "tests/ui/form_tables.h"
#include "ui_main_window.h"

#include <QStyleOptionGroupBox>
#include <QTabBar>
#include <QTest>
#include <QTranslator>

#include <algorithm>
#include <iterator>
#include <optional>

namespace {

// Texts that do not fit their required places, and the font size from which they are cut off.
struct CutOff {
  const char* name;
  int fromPixelSize;
};

constexpr CutOff kUnavoidablyCutOff[] = {
    {"label_15", 12},        // 51 pixels for "Message:"; enough for narrower fonts such as those of Windows
    {"SB_HDMIRX_GAIN", 14},  // 42 pixels, of which the arrows take half
    {"SB_HPOUT_GAIN", 14},   // likewise
};

bool mayBeCutOff(const char* name, int pixelSize) {
  return std::any_of(std::begin(kUnavoidablyCutOff), std::end(kUnavoidablyCutOff), [&](const CutOff& known) {
    return qstrcmp(known.name, name) == 0 && pixelSize >= known.fromPixelSize;
  });
}

QString latin1(const char* text) { return QString::fromLatin1(text); }

// A window with a slot that is connected by name.
class NamedSlotWindow : public QMainWindow {
  Q_OBJECT

 public:
  int infoReads = 0;

 private slots:
  void on_BN_Info_Read_clicked() { ++infoReads; }
};

// Translates each text to itself, prefixed with its context.
class ContextTranslator : public QTranslator {
 public:
  QString translate(const char* context, const char* sourceText, const char*, int) const override {
    return latin1(context) + QLatin1Char('/') + latin1(sourceText);
  }
  bool isEmpty() const override { return false; }
};

class FormTest : public QObject {
  Q_OBJECT

 private slots:
  void init();
  void cleanup();

  void windowHasItsNameTitleAndSize();
  void windowKeepsANameItHasAlready();
  void windowHoldsCentralWidgetMenuBarAndStatusBar();
  void formHasExactlyItsWidgetsInOrderOfCreation();
  void widgetHasItsClassParentAndText_data();
  void widgetHasItsClassParentAndText();
  void pagesAreInOrderAndTheSixthIsCurrent() const;
  void widgetIsAtItsRequiredPlace_data();
  void widgetIsAtItsRequiredPlace();
  void nothingIsLaidOutByALayout();
  void lineEditTakesAtMostItsLength_data();
  void lineEditTakesAtMostItsLength();
  void gainsHaveTheirRanges();
  void onlyTheDefaultChoicesAreChecked();
  void everyWidgetIsEnabledAndWritable();
  void comboBoxesAreEmpty();
  void identityCaptionsHaveNoFrame() const;
  void everyTextIsTranslatedInTheWindowsContext();
  void infoReadButtonIsConnectedByName();
  void noSiblingsOverlap();
  void widgetLiesWithinItsParent_data();
  void widgetLiesWithinItsParent();
  void noTextIsCutOff_data();
  void noTextIsCutOff();

 private:
  QWidget& widget(const char* name) const;

  std::optional<QMainWindow> window;
  Ui_MainWindow form{};
  QFont defaultFont;
};

void FormTest::init() {
  defaultFont = QApplication::font();
  window.emplace();
  form.setupUi(&*window);
}

void FormTest::cleanup() {
  window.reset();
  QApplication::setFont(defaultFont);
}

QWidget& FormTest::widget(const char* name) const {
  auto* found = window->findChild<QWidget*>(latin1(name));
  if (!found) {
    qFatal("no widget named %s", name);
  }
  return *found;
}

void FormTest::windowHasItsNameTitleAndSize() {
  QCOMPARE(window->objectName(), QStringLiteral("MainWindow"));
  QCOMPARE(window->windowTitle(), QStringLiteral("Pellavox v1.03"));
  QCOMPARE(window->size(), QSize(668, 737));
  window->show();
  QVERIFY(QTest::qWaitForWindowExposed(&*window));
  QCOMPARE(window->size(), QSize(668, 737));
}

void FormTest::windowKeepsANameItHasAlready() {
  QMainWindow named;
  named.setObjectName(QStringLiteral("Mine"));
  Ui_MainWindow().setupUi(&named);
  QCOMPARE(named.objectName(), QStringLiteral("Mine"));
}

void FormTest::windowHoldsCentralWidgetMenuBarAndStatusBar() {
  QCOMPARE(window->centralWidget(), form.centralwidget);
  QCOMPARE(window->menuBar(), form.menubar);
  QCOMPARE(window->statusBar(), form.statusbar);
  QVERIFY(form.menubar->actions().isEmpty());
  QVERIFY(form.statusbar->currentMessage().isEmpty());
}

void FormTest::formHasExactlyItsWidgetsInOrderOfCreation() {
  QStringList expected;
  for (const WidgetRow& row : kWidgets) {
    expected << latin1(row.name);
  }
  QCOMPARE(namesBelow(*window), expected);
}

void FormTest::widgetHasItsClassParentAndText_data() {
  QTest::addColumn<int>("index");
  for (std::size_t index = 0; index < std::size(kWidgets); ++index) {
    QTest::newRow(kWidgets[index].name) << static_cast<int>(index);
  }
}

void FormTest::widgetHasItsClassParentAndText() {
  QFETCH(int, index);
  const WidgetRow& row = kWidgets[static_cast<std::size_t>(index)];
  const auto* found = window->findChild<QWidget*>(latin1(row.name));
  QVERIFY(found);
  QCOMPARE(found->metaObject()->className(), row.className);

  const QObject* parent = found->parent();
  if (parent->objectName() == QLatin1String("qt_tabwidget_stackedwidget")) {
    parent = parent->parent();
  }
  QCOMPARE(parent->objectName(), latin1(row.parent));

  if (row.text) {
    QCOMPARE(captionOf(*found), latin1(row.text));
  } else if (!qobject_cast<const QSpinBox*>(found)) {
    QVERIFY(captionOf(*found).isEmpty());
  }
}

void FormTest::pagesAreInOrderAndTheSixthIsCurrent() const {
  const QTabWidget& tabs = *form.tabWidget;
  QCOMPARE(tabs.count(), static_cast<int>(std::size(kPages)));
  for (int index = 0; index < tabs.count(); ++index) {
    QCOMPARE(tabs.widget(index)->objectName(), latin1(kPages[static_cast<std::size_t>(index)].name));
    QCOMPARE(tabs.tabText(index), latin1(kPages[static_cast<std::size_t>(index)].caption));
  }
  QCOMPARE(tabs.currentIndex(), 5);
}

void FormTest::widgetIsAtItsRequiredPlace_data() {
  QTest::addColumn<int>("index");
  for (std::size_t index = 0; index < std::size(kPlaces); ++index) {
    QTest::newRow(kPlaces[index].name) << static_cast<int>(index);
  }
}

void FormTest::widgetIsAtItsRequiredPlace() {
  QFETCH(int, index);
  const PlaceRow& place = kPlaces[static_cast<std::size_t>(index)];
  const QRect actual = widget(place.name).geometry();
  QCOMPARE(actual.topLeft(), QPoint(place.x, place.y));
  if (place.width != 0) {
    QCOMPARE(actual.width(), place.width);
  }
  if (place.height != 0) {
    QCOMPARE(actual.height(), place.height);
  }
}

void FormTest::nothingIsLaidOutByALayout() {
  for (const WidgetRow& row : kWidgets) {
    // A status bar always has its own layout.
    if (qstrcmp(row.name, "statusbar") != 0) {
      QVERIFY2(!widget(row.name).layout(), row.name);
    }
  }
}

void FormTest::lineEditTakesAtMostItsLength_data() {
  QTest::addColumn<int>("length");
  for (const LengthRow& row : kMaximumLengths) {
    QTest::newRow(row.name) << row.length;
  }
}

void FormTest::lineEditTakesAtMostItsLength() {
  QFETCH(int, length);
  const auto* edit = qobject_cast<QLineEdit*>(&widget(QTest::currentDataTag()));
  QVERIFY(edit);
  QCOMPARE(edit->maxLength(), length);
}

void FormTest::gainsHaveTheirRanges() {
  for (const QSlider* slider : {form.HS_HDMIRX_GAIN, form.HS_HPOUT_GAIN}) {
    QCOMPARE(slider->orientation(), Qt::Horizontal);
    QCOMPARE(slider->value(), 0);
  }
  QCOMPARE(form.HS_HDMIRX_GAIN->minimum(), -72);
  QCOMPARE(form.HS_HDMIRX_GAIN->maximum(), 30);
  QCOMPARE(form.HS_HPOUT_GAIN->minimum(), -50);
  QCOMPARE(form.HS_HPOUT_GAIN->maximum(), 12);
  for (const QSpinBox* spinBox : {form.SB_HDMIRX_GAIN, form.SB_HPOUT_GAIN}) {
    QCOMPARE(spinBox->minimum(), -72);
    QCOMPARE(spinBox->maximum(), 30);
    QCOMPARE(spinBox->value(), 0);
  }
}

void FormTest::onlyTheDefaultChoicesAreChecked() {
  QStringList checked;
  for (const WidgetRow& row : kWidgets) {
    const auto* button = qobject_cast<QAbstractButton*>(&widget(row.name));
    if (button && button->isChecked()) {
      checked << button->objectName();
    }
  }
  QCOMPARE(checked, QStringList({QStringLiteral("RB_TX_EDID_256"), QStringLiteral("RB_GPIO_ISO")}));
  QVERIFY(!form.CB_DACHP_MUTE->isTristate());
}

void FormTest::everyWidgetIsEnabledAndWritable() {
  for (const WidgetRow& row : kWidgets) {
    QVERIFY2(widget(row.name).isEnabled(), row.name);
    if (const auto* edit = qobject_cast<QLineEdit*>(&widget(row.name))) {
      QVERIFY2(!edit->isReadOnly(), row.name);
    }
  }
}

void FormTest::comboBoxesAreEmpty() {
  const QList<QComboBox*> boxes = window->findChildren<QComboBox*>();
  QCOMPARE(boxes.size(), 6);
  for (const QComboBox* box : boxes) {
    QCOMPARE(box->count(), 0);
  }
}

void FormTest::identityCaptionsHaveNoFrame() const {
  QCOMPARE(form.label_42->frameShape(), QFrame::NoFrame);
  QCOMPARE(form.label_43->frameShape(), QFrame::NoFrame);
}

void FormTest::everyTextIsTranslatedInTheWindowsContext() {
  form.LB_Message->setText(QStringLiteral("Device Connected"));
  form.logo->setText(QStringLiteral("logo"));
  ContextTranslator translator;
  QVERIFY(QCoreApplication::installTranslator(&translator));
  form.retranslateUi(&*window);
  QCoreApplication::removeTranslator(&translator);

  const QString context = QStringLiteral("MainWindow/");
  QCOMPARE(window->windowTitle(), context + QStringLiteral("Pellavox v1.03"));
  for (int index = 0; index < form.tabWidget->count(); ++index) {
    QCOMPARE(form.tabWidget->tabText(index), context + latin1(kPages[static_cast<std::size_t>(index)].caption));
  }
  for (const WidgetRow& row : kWidgets) {
    if (qstrcmp(row.name, "Edit_VID") == 0) {
      QCOMPARE(form.Edit_VID->text(), context.left(form.Edit_VID->maxLength()));
    } else if (row.text) {
      const QString text = latin1(row.text);
      QCOMPARE(captionOf(widget(row.name)), text.isEmpty() ? QString() : context + text);
    }
  }
}

void FormTest::infoReadButtonIsConnectedByName() {
  NamedSlotWindow named;
  Ui_MainWindow namedForm{};
  namedForm.setupUi(&named);
  namedForm.BN_Info_Read->click();
  QCOMPARE(named.infoReads, 1);
}

void FormTest::noSiblingsOverlap() {
  for (std::size_t first = 0; first < std::size(kWidgets); ++first) {
    for (std::size_t second = first + 1; second < std::size(kWidgets); ++second) {
      const WidgetRow& one = kWidgets[first];
      const WidgetRow& other = kWidgets[second];
      // Pages cover each other by design, and the window places its own parts.
      if (qstrcmp(one.parent, other.parent) != 0 || qstrcmp(one.parent, "tabWidget") == 0 ||
          qstrcmp(one.parent, "MainWindow") == 0) {
        continue;
      }
      QVERIFY2(!shownArea(widget(one.name)).intersects(shownArea(widget(other.name))),
               qPrintable(latin1(one.name) + QStringLiteral(" and ") + latin1(other.name)));
    }
  }
}

void FormTest::widgetLiesWithinItsParent_data() {
  QTest::addColumn<int>("pixelSize");
  QTest::newRow("9 points at 96 dpi") << 12;
  QTest::newRow("10 points at 96 dpi") << 13;
  QTest::newRow("10 points at 100 dpi") << 14;
}

void FormTest::widgetLiesWithinItsParent() {
  QFETCH(int, pixelSize);
  QFont font = defaultFont;
  font.setPixelSize(pixelSize);
  QApplication::setFont(font);
  window->show();
  QVERIFY(QTest::qWaitForWindowExposed(&*window));

  for (const WidgetRow& row : kWidgets) {
    const QWidget& child = widget(row.name);
    const QWidget& parent = *child.parentWidget();
    if (kOutsideTheirPage.contains(child.objectName()) || &parent == &*window) {
      continue;
    }
    // A page gets its size when it is first shown.
    for (int page = 0; page < form.tabWidget->count(); ++page) {
      if (form.tabWidget->widget(page)->isAncestorOf(&child)) {
        form.tabWidget->setCurrentIndex(page);
      }
    }
    QRect inside = parent.rect();
    if (qobject_cast<const QGroupBox*>(&parent)) {
      QStyleOptionGroupBox option;
      option.initFrom(&parent);
      option.text = captionOf(parent);
      option.lineWidth = 1;
      option.subControls = QStyle::SC_GroupBoxFrame | QStyle::SC_GroupBoxLabel;
      inside = parent.style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxContents, &parent);
    }
    QVERIFY2(inside.contains(child.geometry()), row.name);
  }
}

void FormTest::noTextIsCutOff_data() { widgetLiesWithinItsParent_data(); }

void FormTest::noTextIsCutOff() {
  QFETCH(int, pixelSize);
  QFont font = defaultFont;
  font.setPixelSize(pixelSize);
  QApplication::setFont(font);
  window->show();
  QVERIFY(QTest::qWaitForWindowExposed(&*window));
  for (int page = 0; page < form.tabWidget->count(); ++page) {
    form.tabWidget->setCurrentIndex(page);
  }

  QVERIFY(form.tabWidget->tabBar()->sizeHint().width() <= form.tabWidget->width());
  QStringList cutOff;
  for (const WidgetRow& row : kWidgets) {
    if (row.text && !holds(widget(row.name), latin1(row.text)) && !mayBeCutOff(row.name, pixelSize)) {
      cutOff << latin1(row.name);
    }
  }
  for (const LongestText& longest : kLongestTexts) {
    if (!holds(widget(longest.name), latin1(longest.text)) && !mayBeCutOff(longest.name, pixelSize)) {
      cutOff << latin1(longest.name);
    }
  }
  QVERIFY2(cutOff.isEmpty(), qPrintable(cutOff.join(QStringLiteral(", "))));
}

}  // namespace

QTEST_MAIN(FormTest)
#include "form_test.moc"
