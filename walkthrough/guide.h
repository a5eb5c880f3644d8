#pragma once

#include "walkthrough/operator.h"
#include "walkthrough/picture_book.h"

/// Does the operator's jobs on the device that is plugged in without a scenario,
/// and adds a picture of each to the book.
/// @param files a folder with the sample files
void goThroughGuide(Operator& user, const QDir& files, PictureBook& book);
