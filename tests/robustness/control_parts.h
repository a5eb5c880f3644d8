#pragma once

#include "tests/robustness/control_table.h"

/// Building blocks of the control table's rows.
namespace control_table {

inline Action click(const char* button) { return {Action::Kind::kClick, button}; }
inline Action type(const char* lineEdit, const QString& text) { return {Action::Kind::kType, lineEdit, text}; }
inline Action choose(const char* comboBox, const QString& row) { return {Action::Kind::kChooseRow, comboBox, row}; }
inline Action move(const char* sliderOrSpinBox, int value) {
  return {Action::Kind::kMove, sliderOrSpinBox, QString::number(value)};
}
inline Action chooseFile(const char* button, const QString& file) {
  return {Action::Kind::kChooseFile, button, "DIR/" + file};
}

inline States message(const char* text) { return {{"LB_Message", text}}; }

/// The same state after each answer.
inline ExpectedState always(const char* widget, const QString& state) { return {widget, state, state, state}; }

// Rows of single pages.
QVector<Control> audioControls();
QVector<Control> edidControls();
QVector<Control> debugControls();

}  // namespace control_table
