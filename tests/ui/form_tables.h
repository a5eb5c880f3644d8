#pragma once

#include <QStringList>

#include <span>

/// The required form: its widgets, their places and texts.

struct WidgetRow {
  const char* name;
  const char* className;
  const char* parent;
  const char* text;  // nullptr: a widget without a caption or an initial text
};
/// All widgets of the form, in order of creation.
extern const std::span<const WidgetRow> kWidgets;

struct PageRow {
  const char* name;
  const char* caption;
};
extern const std::span<const PageRow> kPages;

/// A fixed place; 0 for a free size.
struct PlaceRow {
  const char* name = nullptr;
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};
extern const std::span<const PlaceRow> kPlaces;

struct LengthRow {
  const char* name;
  int length;
};
extern const std::span<const LengthRow> kMaximumLengths;

struct LongestText {
  const char* name;
  const char* text;
};
/// The widest text that each widget ever has to show.
extern const std::span<const LongestText> kLongestTexts;

/// Widgets that lie outside their page, or extend past its edge, on purpose.
extern const QStringList kOutsideTheirPage;
