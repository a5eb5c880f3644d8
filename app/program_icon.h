#pragma once

/// Gives all windows of the program its icon, where the system does not take it from
/// the program's file (Windows does). Call after the application object is made.
void setProgramIcon();
