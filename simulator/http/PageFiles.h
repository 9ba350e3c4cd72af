#ifndef KESTROVE_SIMULATOR_HTTP_PAGEFILES_H
#define KESTROVE_SIMULATOR_HTTP_PAGEFILES_H

#include <map>
#include <optional>
#include <string>

#include "simulator/http/ServedRequest.h"

/// Whether who asks takes answers that are compressed with gzip.
bool TakesGzip(const ServedRequest& request);

/// The files of the page as answers: compressed for who takes that, and without a body for who has
/// them already.
///
/// Thread safety: as a constant, from any thread.
class CPageFiles
{
public:
    CPageFiles();

    /// What a request for a file is answered with; nothing when its path is not a file's.
    std::optional<ServedAnswer> AnswerTo(const ServedRequest& request) const;

private:
    struct File
    {
        ServedAnswer plain;
        ServedAnswer compressed;
        std::string plainTag; ///< in quotation marks, as in the headers
        std::string compressedTag;
    };

    std::map<std::string, File> m_files; ///< by their paths
};

#endif
