#include "tools/fieldfiles/IsoXmlReader.h"

#include <set>
#include <unordered_map>
#include <unordered_set>

#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/IsoXmlPattern.h"
#include "tools/fieldfiles/XmlFile.h"

namespace {

constexpr int kExteriorRing = 1;
constexpr int kInteriorRing = 2;
constexpr int kGuidanceLine = 5;
constexpr int kFieldBoundary = 1;
constexpr int kMainField = 9;

/// Reads the partfields of one set of files.
class CIsoXmlReading
{
public:
    CFieldFile file;

    void ReadFieldsIn(const pugi::xml_node& root)
    {
        for (const pugi::xml_node& node : root) {
            if (IsElement(node, "PFD")) {
                ReadField(node);
            }
        }
    }

    void CountPlaces(std::size_t count)
    {
        m_places += count;
        if (m_places > FileLimits::kPlaces) {
            throw CFieldFileTooLarge("places");
        }
    }

private:
    void ReadField(const pugi::xml_node& node)
    {
        if (file.fields.size() >= FileLimits::kFields) {
            throw CFieldFileTooLarge("fields");
        }
        Field field;
        field.name = OfItsOwn(NameOf(node, "C", IsoText(node, "A")));
        for (const pugi::xml_node& child : node) {
            if (IsElement(child, "GGP")) {
                ReadGroup(child, field);
            } else if (IsElement(child, "LSG")) {
                ReadPlainLine(child, field);
            } else if (IsElement(child, "PLN")) {
                ReadPolygon(child, field);
            }
        }
        file.fields.push_back(std::move(field));
    }

    /// Fields are known by their names: a further one of a name has a number behind it.
    std::string OfItsOwn(const std::string& name)
    {
        std::string own = name;
        while (!m_names.insert(own).second) {
            own = name + " (" + std::to_string(++m_further[name] + 1) + ")";
        }
        return own;
    }

    void ReadGroup(const pugi::xml_node& group, Field& field)
    {
        for (const pugi::xml_node& pattern : group) {
            if (!IsElement(pattern, "GPN")) {
                continue;
            }
            const std::string own = NameOf(ChildOf(pattern, "LSG"), "B", IsoText(pattern, "A"));
            const std::string name = NameOf(pattern, "B", own);
            AddLine(field, name, [&] { return IsoPatternLine(pattern); });
        }
    }

    void ReadPlainLine(const pugi::xml_node& lineString, Field& field)
    {
        if (IsoCode(lineString, "A", 0) != kGuidanceLine) {
            return;
        }
        const std::string number = std::to_string(field.lines.size() + 1);
        AddLine(field, NameOf(lineString, "B", "Line " + number),
                [&] { return IsoPlainLine(lineString); });
    }

    /// A line that cannot be used is kept by its name, with the reason.
    template <typename Read>
    void AddLine(Field& field, const std::string& name, const Read& read)
    {
        try {
            FieldLine line = read();
            line.name = name;
            CountPlaces(line.places.size());
            file.AddLine(field, std::move(line));
        } catch (const CFieldFileTooLarge&) {
            throw;
        } catch (const CFieldFileProblem& problem) {
            file.Refuse(field.name, name, problem.what());
        }
    }

    void ReadPolygon(const pugi::xml_node& polygon, Field& field)
    {
        const int type = IsoCode(polygon, "A", 0);
        if (type != kFieldBoundary && type != kMainField) {
            return file.Note(field.name + ": a polygon of the type " + std::to_string(type) +
                             " is no boundary and is left out");
        }
        try {
            ReadRings(polygon, field);
        } catch (const CFieldFileTooLarge&) {
            throw;
        } catch (const CFieldFileProblem& problem) {
            file.Note(field.name + ": a boundary is left out: " + problem.what());
        }
    }

    /// Files of version 3 may have several exterior rings in a polygon: a boundary each. Interior
    /// ones belong to the exterior one before them.
    void ReadRings(const pugi::xml_node& polygon, Field& field)
    {
        const std::string name = NameOf(polygon, "B", "");
        std::vector<FieldBoundary> boundaries;
        std::vector<std::vector<FieldPlace>> early;
        for (const pugi::xml_node& node : polygon) {
            const int type = IsElement(node, "LSG") ? IsoCode(node, "A", 0) : 0;
            if (type != kExteriorRing && type != kInteriorRing) {
                continue;
            }
            std::vector<FieldPlace> ring = Ring(node);
            if (type == kExteriorRing) {
                boundaries.push_back({name, std::move(ring), std::move(early), 0});
                early.clear();
            } else if (boundaries.empty()) {
                early.push_back(std::move(ring));
            } else {
                boundaries.back().holes.push_back(std::move(ring));
            }
        }
        if (boundaries.empty()) {
            throw CFieldFileProblem("it has no exterior ring");
        }
        for (FieldBoundary& boundary : boundaries) {
            file.AddBoundary(field, std::move(boundary));
        }
    }

    std::vector<FieldPlace> Ring(const pugi::xml_node& lineString)
    {
        std::vector<FieldPlace> ring;
        for (const IsoPoint& point : IsoPoints(lineString)) {
            ring.push_back(point.place);
        }
        ring = OpenRing(std::move(ring));
        CountPlaces(ring.size());
        return ring;
    }

    static std::string NameOf(const pugi::xml_node& node, const char* attribute,
                              const std::string& otherwise)
    {
        const std::string name = IsoText(node, attribute).substr(0, FileLimits::kNameBytes);
        return name.empty() ? otherwise.substr(0, FileLimits::kNameBytes) : name;
    }

    std::size_t m_places = 0;
    std::unordered_set<std::string> m_names;                ///< of the fields
    std::unordered_map<std::string, std::size_t> m_further; ///< numbers tried for a name
};

/// External files lie beside the main one: a name of letters and digits, without a folder.
bool IsExternalName(const std::string& name)
{
    return !name.empty() && name.size() <= 64 &&
           name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                  "0123456789-_") == std::string::npos;
}

/// Refuses an external file of any type whose path leads somewhere else.
void CheckStaysInFolder(const std::string& name)
{
    if (name.find_first_of("/\\:") != std::string::npos || name.find("..") != std::string::npos) {
        throw CFieldFileProblem("the external file \"" + name.substr(0, 80) +
                                "\" would lie outside the folder; such a file is not read");
    }
}

using ExternalFiles = std::function<std::optional<std::string>(const std::string&)>;

void ReadExternal(CIsoXmlReading& reading, const std::string& name, const ExternalFiles& external)
{
    if (!IsExternalName(name)) {
        throw CFieldFileProblem("the external file \"" + name.substr(0, 80) +
                                "\" would lie outside the folder; such a file is not read");
    }
    const std::optional<std::string> bytes = external(name + ".XML");
    if (!bytes) {
        return reading.file.Note("the external file " + name + ".XML is missing");
    }
    pugi::xml_document document;
    try {
        ParseXml(*bytes, document);
    } catch (const CFieldFileProblem& problem) {
        throw CFieldFileProblem(name + ".XML: " + problem.what());
    }
    reading.ReadFieldsIn(document.document_element());
}

} // namespace

CFieldFile ReadIsoXml(const std::string& main, const ExternalFiles& external)
{
    pugi::xml_document document;
    ParseXml(main, document);
    return ReadIsoXml(document, external);
}

CFieldFile ReadIsoXml(const pugi::xml_document& document, const ExternalFiles& external)
{
    const pugi::xml_node root = document.document_element();
    if (!IsElement(root, "ISO11783_TaskData") && !IsElement(root, "XFC")) {
        throw CFieldFileProblem("the XML is no ISOXML: its root is " + LocalName(root));
    }
    CIsoXmlReading reading;
    std::set<std::string> files;
    for (const pugi::xml_node& node : root) {
        const std::string name = IsElement(node, "XFR") ? IsoText(node, "A") : "";
        CheckStaysInFolder(name);
        if (LowerCase(name.substr(0, 3)) != "pfd" || !files.insert(LowerCase(name)).second) {
            continue;
        }
        if (files.size() > FileLimits::kExternalFiles) {
            throw CFieldFileTooLarge("external files");
        }
        ReadExternal(reading, name, external);
    }
    reading.ReadFieldsIn(root);
    return std::move(reading.file);
}
