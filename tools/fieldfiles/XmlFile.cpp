#include "tools/fieldfiles/XmlFile.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

/// Where the parser stopped, as a line.
std::size_t LineOf(const std::string& bytes, std::ptrdiff_t offset)
{
    const auto end = bytes.begin() + std::clamp<std::ptrdiff_t>(
                                         offset, 0, static_cast<std::ptrdiff_t>(bytes.size()));
    return static_cast<std::size_t>(std::count(bytes.begin(), end, '\n')) + 1;
}

void CheckSize(const std::string& bytes)
{
    if (bytes.size() > FileLimits::kXmlBytes) {
        throw CFieldFileProblem("the XML is longer than the " +
                                std::to_string(FileLimits::kXmlBytes >> 20) + " MiB that are read");
    }
    // Each element and attribute takes a piece of memory, however short it is.
    const auto marks = std::count_if(bytes.begin(), bytes.end(),
                                     [](char letter) { return letter == '<' || letter == '='; });
    if (static_cast<std::size_t>(marks) > FileLimits::kXmlMarks) {
        throw CFieldFileProblem("the XML has more than the " +
                                std::to_string(FileLimits::kXmlMarks) +
                                " elements and attributes that are read");
    }
}

/// How many bytes the character of UTF-8 has that begins there; 0 when none does.
std::size_t CharacterLength(const std::string& text, std::size_t place)
{
    const auto at = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned first = at(place);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((at(place + i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    // Overlong ones, surrogates, what is beyond Unicode, and the two that XML does not allow.
    const unsigned second = at(place + 1);
    const bool isForbidden = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                             (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F) ||
                             (first == 0xEF && second == 0xBF && at(place + 2) >= 0xBE);
    return isForbidden ? 0 : length;
}

void CheckDepth(const pugi::xml_document& document)
{
    struct Walker : pugi::xml_tree_walker
    {
        bool for_each(pugi::xml_node& /*node*/) override
        {
            if (depth() > FileLimits::kDepth) {
                throw CFieldFileProblem("the XML nests deeper than " +
                                        std::to_string(FileLimits::kDepth) + " elements");
            }
            return true;
        }
    };
    Walker walker;
    document.document_element().parent().traverse(walker);
}

} // namespace

void ParseXml(const std::string& bytes, pugi::xml_document& document)
{
    CheckSize(bytes);
    const pugi::xml_parse_result result =
        document.load_buffer(bytes.data(), bytes.size(), pugi::parse_default | pugi::parse_doctype);
    if (!result) {
        throw CFieldFileProblem("line " + std::to_string(LineOf(bytes, result.offset)) +
                                ": the XML is broken: " + result.description());
    }
    for (const pugi::xml_node& node : document) {
        if (node.type() == pugi::node_doctype) {
            throw CFieldFileProblem("the XML declares a document type, which may define entities; "
                                    "such a file is not read");
        }
    }
    CheckDepth(document);
}

std::string LocalName(const pugi::xml_node& node)
{
    const char* const colon = std::strchr(node.name(), ':');
    return colon == nullptr ? node.name() : colon + 1;
}

bool IsElement(const pugi::xml_node& node, const char* name)
{
    if (node.type() != pugi::node_element) {
        return false;
    }
    const char* const colon = std::strchr(node.name(), ':');
    return std::strcmp(colon == nullptr ? node.name() : colon + 1, name) == 0;
}

pugi::xml_node ChildOf(const pugi::xml_node& node, const char* name)
{
    return node.find_child([&](const pugi::xml_node& child) { return IsElement(child, name); });
}

std::string WordsIn(const pugi::xml_node& node)
{
    std::string words;
    for (const pugi::xml_node& child : node) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
            words += child.value();
        }
    }
    return words;
}

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::optional<double> XmlNumber(const std::string& text, const std::string& what)
{
    const std::string bare = Trimmed(text);
    if (bare.empty()) {
        return std::nullopt;
    }
    const std::optional<double> number = FiniteNumber(bare);
    if (!number) {
        throw CFieldFileProblem(what + " is no number: \"" + bare.substr(0, 40) + "\"");
    }
    return number;
}

std::string XmlText(const pugi::xml_document& document)
{
    std::ostringstream text;
    document.save(text, " ", pugi::format_default, pugi::encoding_utf8);
    return text.str();
}

std::string XmlName(const std::string& name, std::size_t mostCharacters)
{
    std::string kept;
    std::size_t characters = 0;
    for (std::size_t i = 0; i < name.size() && characters < mostCharacters;) {
        const std::size_t length = CharacterLength(name, i);
        const bool isControl =
            length == 1 && (static_cast<unsigned char>(name[i]) < 0x20 || name[i] == '\x7F');
        if (length != 0 && !isControl) {
            kept += name.substr(i, length);
            ++characters;
        }
        i += length == 0 ? 1 : length;
    }
    return kept;
}
