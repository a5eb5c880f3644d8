#pragma once

#include <QString>

namespace station {

/// A reason without what differs from unit to unit, so that equal ones can be counted:
/// quoted texts, the serial number, versions, hashes, files and other words with a digit
/// become "...". Numbers of statuses and slots stay: they tell what failed.
/// @param serial of the unit; empty = not known
QString kindOfReason(const QString& reason, const QString& serial);

}  // namespace station
