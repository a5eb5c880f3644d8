#pragma once

#include <QObject>

/// Makes every label of the process show plain text, those of Qt's own dialogs
/// and tool tips included: they name files, and a file's name may be markup that
/// makes a label open other files. Acts while it lives; GUI thread.
class PlainLabels : public QObject {
 public:
  /// @param parent owns this
  explicit PlainLabels(QObject* parent);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
};
