#pragma once

#include "walkthrough/operator.h"
#include "walkthrough/picture_book.h"

/// Does the operator's jobs on the default device and adds a picture of each to the book.
/// @param files a folder with the sample files
void goThroughGuide(Operator& user, const QDir& files, PictureBook& book);
