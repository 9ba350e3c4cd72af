#ifndef KESTROVE_CORE_EXPORT_H
#define KESTROVE_CORE_EXPORT_H

/// @file
/// Marks what the shared library shows.

/// Marks a class or function that the library exports. Everything else is hidden.
#define KESTROVE_EXPORT __attribute__((visibility("default")))

#endif
