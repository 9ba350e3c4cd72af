#ifndef KESTROVE_CORE_VERSION_H
#define KESTROVE_CORE_VERSION_H

/// @file
/// The version of the headers that an application is compiled with.

/// Grows when applications must be rebuilt or changed.
#define KESTROVE_VERSION_MAJOR 1
/// Grows with what is new.
#define KESTROVE_VERSION_MINOR 0
/// Grows with what is mended.
#define KESTROVE_VERSION_PATCH 0

/// The three as one number, for comparisons: 10203 for version 1.2.3.
#define KESTROVE_VERSION                                                                           \
    (KESTROVE_VERSION_MAJOR * 10000 + KESTROVE_VERSION_MINOR * 100 + KESTROVE_VERSION_PATCH)

#endif
