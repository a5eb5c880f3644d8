/// @file
/// Loads the device library and has no functions of its own.
