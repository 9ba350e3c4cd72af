#ifndef KESTROVE_SIMULATOR_HTTP_GZIP_H
#define KESTROVE_SIMULATOR_HTTP_GZIP_H

#include <string>
#include <string_view>

/// Compresses with gzip, as browsers take it. Takes some milliseconds for a hundred kilobytes.
///
/// @throws std::runtime_error where there is no memory for it.
std::string Gzipped(std::string_view bytes);

#endif
