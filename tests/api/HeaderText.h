#ifndef KESTROVE_TESTS_API_HEADERTEXT_H
#define KESTROVE_TESTS_API_HEADERTEXT_H

#include <string>
#include <vector>

/// Reads a file of the source tree, given by its path from the tree's root.
std::string SourceFile(const std::string& path);

/// The declarations of CNavigationAPI's public operations as its header writes them, each on one
/// line, in order; constructor and destructor left out.
std::vector<std::string> PublicOperations();

/// The rows of the first table below a heading of a Markdown text, each as its cells, trimmed and
/// without back-quotes; the table's own heading left out.
std::vector<std::vector<std::string>> TableBelow(const std::string& text,
                                                 const std::string& heading);

#endif
