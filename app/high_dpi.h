#pragma once

/// Lets Qt scale the window's fixed geometry on a dense screen. On Windows also
/// by the fractions that its settings offer, such as 150 %. Elsewhere a screen
/// may have any resolution, and factors such as 1.04 blur and crop widgets: there
/// the factor, and with it the fonts, are those of `roundedDpi`. What the user
/// has set in Qt's own environment variables stands.
/// Call it before the application object is made, while there is one thread.
/// @param argc,argv the program's, which are left as they are
void enableHighDpi(int argc, char* argv[]);

/// The resolution, in dots per inch, whose scale factor over 96 is the nearest
/// quarter, and not less than 1.
int roundedDpi(double dpi);
