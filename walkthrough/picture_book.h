#pragma once

#include <QDir>
#include <QString>
#include <QWidget>

/// The pictures of the operator's guide. Each holds, as a text in the file, what
/// the window showed when it was taken, so that a picture that no longer fits the
/// program is noticed without comparing pixels, which differ between systems.
class PictureBook {
 public:
  enum class Mode { kTake, kCheck };

  /// @param folder where the pictures are
  /// @param mode   take them, or hold the window against those that are there
  PictureBook(const QDir& folder, Mode mode) : folder_(folder), mode_(mode) {}

  /// A folder whose name differs from run to run and is not told.
  void hide(const QString& folder) { hidden_ = folder; }

  /// Takes a picture of a window or dialog, or checks the one that is there and
  /// prints the first difference.
  void add(const QString& name, QWidget& shown);

  /// False when a picture could not be saved, is missing or shows something else.
  bool isGood() const { return isGood_; }

 private:
  QString description(QWidget& shown) const;
  void save(const QString& file, QWidget& shown);
  void compare(const QString& file, QWidget& shown);

  QDir folder_;
  Mode mode_;
  QString hidden_;
  bool isGood_ = true;
};
