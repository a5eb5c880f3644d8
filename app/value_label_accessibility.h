#pragma once

/// Lets screen readers identify a value label by its caption: the label's accessible
/// name is the caption, its value and its text are what it shows, and the caption is
/// its label. (Of itself, Qt would offer the name instead of the text.) Holds for every
/// label with an accessible name, from now on; more calls change nothing. GUI thread.
void describeValueLabels();
