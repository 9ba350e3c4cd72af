#ifndef KESTROVE_TESTS_API_HEADERTEXT_H
#define KESTROVE_TESTS_API_HEADERTEXT_H

#include <string>
#include <vector>

/// Reads a file of the source tree, given by its path from the tree's root.
std::string SourceFile(const std::string& path);

/// A declaration of a header, and the comment that stands before it; each on one line.
struct Declaration
{
    std::string comment; ///< without the marks of a comment; empty when there is none
    std::string text;    ///< without the semicolon
};

/// CNavigationAPI's public operations as its header writes them, in order; constructor and
/// destructor left out.
std::vector<Declaration> PublicDeclarations();
/// Their texts alone.
std::vector<std::string> PublicOperations();

/// The rows of the first table below a heading of a Markdown text, each as its cells, trimmed and
/// without back-quotes; the table's own heading left out.
std::vector<std::vector<std::string>> TableBelow(const std::string& text,
                                                 const std::string& heading);

#endif
