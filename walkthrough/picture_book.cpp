#include "walkthrough/picture_book.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QTabBar>

#include <cstdio>

namespace {

const QString kKey = QStringLiteral("Shows");

QString textOf(const QWidget& widget) {
  if (const auto* const label = qobject_cast<const QLabel*>(&widget)) {
    return label->text();
  }
  if (const auto* const field = qobject_cast<const QLineEdit*>(&widget)) {
    return field->text();
  }
  if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget)) {
    return button->text();
  }
  if (const auto* const list = qobject_cast<const QComboBox*>(&widget)) {
    return list->currentText();
  }
  if (const auto* const box = qobject_cast<const QGroupBox*>(&widget)) {
    return box->title();
  }
  if (const auto* const tabs = qobject_cast<const QTabBar*>(&widget)) {
    return tabs->tabText(tabs->currentIndex());
  }
  return {};
}

}  // namespace

void PictureBook::add(const QString& name, QWidget& shown) {
  const QString file = folder_.filePath(name + QStringLiteral(".png"));
  if (mode_ == Mode::kTake) {
    save(file, shown);
  } else {
    compare(file, shown);
  }
}

QString PictureBook::description(QWidget& shown) const {
  QStringList lines{shown.windowTitle()};
  for (const QWidget* const widget : shown.findChildren<QWidget*>()) {
    const QString text = textOf(*widget);
    if (!widget->isVisibleTo(&shown) || text.isEmpty()) {
      continue;
    }
    QString line = widget->objectName() + QStringLiteral(": ") + text;
    // Only the form has fixed places; a dialog's depend on fonts.
    if (shown.objectName() == QLatin1String("MainWindow")) {
      line.prepend(QStringLiteral("%1,%2 ").arg(widget->x()).arg(widget->y()));
    }
    lines << (hidden_.isEmpty() ? line : line.replace(hidden_, QStringLiteral("...")));
  }
  return lines.join('\n');
}

void PictureBook::save(const QString& file, QWidget& shown) {
  // At most 256 colours keep the file small.
  QImage picture = shown.grab().toImage().convertToFormat(QImage::Format_Indexed8, Qt::ThresholdDither);
  picture.setText(kKey, description(shown));
  if (!picture.save(file)) {
    isGood_ = false;
    std::printf("WRONG   %s cannot be saved\n", qPrintable(file));
    return;
  }
  std::printf("picture %s\n", qPrintable(QDir::toNativeSeparators(file)));
}

void PictureBook::compare(const QString& file, QWidget& shown) {
  const QStringList seen = description(shown).split('\n');
  const QStringList kept = QImage(file).text(kKey).split('\n');
  for (int i = 0; i < qMax(seen.size(), kept.size()); ++i) {
    if (seen.value(i) != kept.value(i)) {
      isGood_ = false;
      std::printf("WRONG   %s shows\n  %s\nbut the window now shows\n  %s\n", qPrintable(file),
                  qPrintable(kept.value(i)), qPrintable(seen.value(i)));
      return;
    }
  }
  std::printf("good    %s\n", qPrintable(file));
}
