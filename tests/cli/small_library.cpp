/// @file
/// Brings the device library along and has nothing of its own.
