#ifndef KESTROVE_TESTS_RUNTIME_MESSAGELIMITS_H
#define KESTROVE_TESTS_RUNTIME_MESSAGELIMITS_H

#include <cstddef>

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;
/// What one message may have, in bytes and in elements.
constexpr std::size_t kLargestMessage = 32 * kMebibyte;
constexpr std::size_t kMostElements = 4'194'304;

#endif
