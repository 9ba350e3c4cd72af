#ifndef KESTROVE_SIMULATOR_HTTP_EMBEDDEDFILES_H
#define KESTROVE_SIMULATOR_HTTP_EMBEDDEDFILES_H

#include <string>
#include <vector>

/// A file of the page, as it was when the program was built.
struct EmbeddedFile
{
    std::string name;
    std::string content;
};

/// The files of simulator/page/; made by EmbedFiles.cmake.
std::vector<EmbeddedFile> EmbeddedFiles();

/// The content type that a browser must be told for a file, by the ending of its name.
std::string ContentTypeOf(const std::string& name);

#endif
