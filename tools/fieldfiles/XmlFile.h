#ifndef KESTROVE_TOOLS_FIELDFILES_XMLFILE_H
#define KESTROVE_TOOLS_FIELDFILES_XMLFILE_H

#include <cstddef>
#include <optional>
#include <string>

#include <pugixml.hpp>

/// Parses a document of XML. Entities other than XML's own five and those of numbers stay text, and
/// nothing outside the document is looked at.
///
/// @param bytes the document; UTF-8, or another encoding with a byte order mark.
/// @param document receives what is in it.
/// @throws CFieldFileProblem when it is broken, with the line; when it declares a document type,
///         which may define entities; when it is over a limit.
void ParseXml(const std::string& bytes, pugi::xml_document& document);

/// The name of an element without the prefix of its namespace.
std::string LocalName(const pugi::xml_node& node);

/// Whether it is an element of this local name.
bool IsElement(const pugi::xml_node& node, const char* name);

/// The first child of a local name; no node when there is none.
pugi::xml_node ChildOf(const pugi::xml_node& node, const char* name);

/// The text that stands in an element itself, also where comments cut it into pieces.
std::string WordsIn(const pugi::xml_node& node);

/// The text without blanks around it.
std::string Trimmed(const std::string& text);

/// A number as XML has it, independent of the locale: nothing for an empty text.
///
/// @param what what it is, for the problem.
/// @throws CFieldFileProblem when it is not a finite number.
std::optional<double> XmlNumber(const std::string& text, const std::string& what);

/// A document as text.
std::string XmlText(const pugi::xml_document& document);

/// A name that XML can hold: without control characters and what is not UTF-8.
///
/// @param mostCharacters what is beyond is cut off.
std::string XmlName(const std::string& name, std::size_t mostCharacters = 250);

#endif
