#ifndef KESTROVE_SIMULATOR_HTTP_EMBEDDEDFILES_H
#define KESTROVE_SIMULATOR_HTTP_EMBEDDEDFILES_H

#include <cstddef>
#include <string>
#include <vector>

/// A file of the page, as it was when the program was built.
struct EmbeddedFile
{
    std::string name;
    std::string content;
    std::string compressed; ///< the same by gzip
    std::string tag;        ///< another one for each other content: hexadecimal digits
};

/// The page, its icon, and its parts in one script; made by EmbedFiles.cmake.
std::vector<EmbeddedFile> EmbeddedFiles();

/// The content type that a browser must be given for a file, by the ending of its name.
std::string ContentTypeOf(const std::string& name);

#endif
