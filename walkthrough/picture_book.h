#pragma once

#include <QDir>
#include <QString>
#include <QWidget>

/// The pictures of the operator's guide. Each file also holds, as a text, what the window
/// showed, so that an outdated picture is noticed without comparing pixels, which differ
/// between systems.
class PictureBook {
 public:
  enum class Mode { kTake, kCheck };

  /// @param folder where the pictures are
  /// @param mode   take new pictures, or compare the window with existing ones
  PictureBook(const QDir& folder, Mode mode) : folder_(folder), mode_(mode) {}

  /// Hides a folder whose name differs from run to run.
  void hide(const QString& folder) { hidden_ = folder; }

  /// Takes a picture of a window or dialog, or checks the existing one and prints the
  /// first difference.
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
