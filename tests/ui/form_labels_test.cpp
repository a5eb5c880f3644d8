#include "ui_main_window.h"

#include <QMap>
#include <QTest>

namespace {

/// Labels that lie over their captions; the indent keeps the texts apart.
QMap<QString, int> requiredIndents() {
  QMap<QString, int> indents{{"LB_Message", 8}, {"lb_FW_VER_QX", 30}, {"lb_Main_VER_QX", 30}};
  for (const char* const name :
       {"SCAN", "HTotal", "VTotal", "HActive", "VActive", "HS", "VS", "HFreq", "VFreq", "TMDS", "PCLK1024"}) {
    indents[QStringLiteral("label_") + name] = 34;
  }
  for (const char* const name : {"HSP", "VSP", "HDMI_MODE", "CS", "CD", "CR", "CM", "CM2", "HDCP", "HDR"}) {
    indents[QStringLiteral("label_") + name] = 24;
  }
  return indents;
}

}  // namespace

/// How the form's labels show their texts.
class FormLabelsTest : public QObject {
  Q_OBJECT

  QMainWindow window_;
  QList<QLabel*> labels_;

 private slots:
  void initTestCase() {
    Ui_MainWindow form{};
    form.setupUi(&window_);
    labels_ = window_.findChildren<QLabel*>();
    QCOMPARE(labels_.size(), 81);
  }

  void everyLabelShowsPlainText() {
    for (const QLabel* const label : qAsConst(labels_)) {
      QVERIFY2(label->textFormat() == Qt::PlainText, qPrintable(label->objectName()));
    }
  }

  void valuesStandBehindTheirCaptions() {
    QMap<QString, int> indents;
    for (const QLabel* const label : qAsConst(labels_)) {
      if (label->indent() != -1) {
        indents[label->objectName()] = label->indent();
      }
    }
    QCOMPARE(indents, requiredIndents());
  }
};

QTEST_MAIN(FormLabelsTest)
#include "form_labels_test.moc"
