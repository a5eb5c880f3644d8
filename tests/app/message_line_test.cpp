#include "app/message_line.h"

#include <QCoreApplication>
#include <QLabel>
#include <QTest>

#include <memory>
#include <thread>

namespace {

// Records every text shown, in order.
class RecordingLabel : public QLabel {
  Q_OBJECT

 public:
  QStringList shown;

 protected:
  bool event(QEvent* event) override {
    const bool handled = QLabel::event(event);
    if (event->type() == QEvent::MetaCall) {
      shown << text();
    }
    return handled;
  }
};

}  // namespace

class MessageLineTest : public QObject {
  Q_OBJECT

 private slots:
  void aWorkersTextsAreAllShownInOrder() {
    RecordingLabel label;
    MessageLine line(&label);
    QStringList posted;
    for (int i = 0; i < 1000; ++i) {
      posted << QString::number(i);
    }
    std::thread worker([&] {
      for (const QString& text : posted) {
        line.post(text);
      }
    });
    worker.join();
    QCOMPARE(label.text(), "");
    QCoreApplication::processEvents();
    QCOMPARE(label.shown, posted);
    QCOMPARE(label.text(), "999");
  }

  void nothingIsShownAfterDetaching() {
    auto label = std::make_unique<QLabel>();
    MessageLine line(label.get());
    line.post("shown");
    QCoreApplication::processEvents();
    line.detach();
    line.post("lost");
    QCoreApplication::processEvents();
    QCOMPARE(label->text(), "shown");
    label.reset();
    line.post("lost, too");
    QCoreApplication::processEvents();
  }

  void aTextOnItsWayToADeadLabelIsDropped() {
    auto label = std::make_unique<QLabel>();
    MessageLine line(label.get());
    line.post("on its way");
    line.detach();
    label.reset();
    QCoreApplication::processEvents();
  }

  void workersMayPostWhileTheWindowDies() {
    for (int round = 0; round < 50; ++round) {
      auto label = std::make_unique<QLabel>();
      const auto line = std::make_shared<MessageLine>(label.get());
      std::thread worker([line] {
        for (int i = 0; i < 200; ++i) {
          line->post(QString::number(i));
        }
      });
      QCoreApplication::processEvents();
      line->detach();
      label.reset();
      worker.join();
    }
  }
};

QTEST_MAIN(MessageLineTest)
#include "message_line_test.moc"
