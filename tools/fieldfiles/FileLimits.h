#ifndef KESTROVE_TOOLS_FIELDFILES_FILELIMITS_H
#define KESTROVE_TOOLS_FIELDFILES_FILELIMITS_H

#include <cstddef>

/// What a file of fields may claim. Every reader keeps to these whatever a file announces, so that
/// the memory is bounded. Beside the file itself the most is taken by a document of XML of the
/// longest sort: with its copy and its parts about 550 MB.
namespace FileLimits {

constexpr std::size_t kBytes = 256U << 20;     ///< of a file, and of all that a zip holds
constexpr std::size_t kXmlBytes = 128U << 20;  ///< of a document of XML
constexpr std::size_t kXmlMarks = 5000000;     ///< elements and attributes of one
constexpr std::size_t kZipEntries = 10000;     ///< files in a zip
constexpr std::size_t kExternalFiles = 1000;   ///< of an ISOXML
constexpr std::size_t kFields = 10000;         ///< in a file
constexpr std::size_t kFeatures = 100000;      ///< lines and boundaries in a file
constexpr std::size_t kPlaces = 2000000;       ///< of all of them together
constexpr std::size_t kValueBytes = 72U << 20; ///< of a value in a database: a line of all places
constexpr std::size_t kNameBytes = 1000;       ///< of a name
constexpr int kDepth = 64;                     ///< how deep elements may nest

} // namespace FileLimits

#endif
