#include "tools/fieldfiles/IsoXmlWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/IsoXmlPattern.h"
#include "tools/fieldfiles/XmlFile.h"

namespace {

constexpr std::size_t kLongestName = 32;

/// A number as the schema has it, nine decimals: a tenth of a millimetre on the ground.
std::string NineDecimals(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.9f", value);
    for (char& letter : text) {
        if (letter == ',') { // of a locale
            letter = '.';
        }
    }
    return text;
}

void Set(pugi::xml_node& node, const char* attribute, const std::string& value)
{
    node.append_attribute(attribute).set_value(value.c_str());
}

/// Writes the fields into the document's root.
class CIsoXmlWriting
{
public:
    CIsoXmlWriting(CFieldFile& file, EIsoXmlVersion version) : m_file(file), m_version(version) {}

    void WriteFields(pugi::xml_node& root)
    {
        // Notes are added meanwhile, fields are not.
        for (const Field& field : m_file.fields) {
            WriteField(root, field);
        }
    }

private:
    void WriteField(pugi::xml_node& root, const Field& field)
    {
        pugi::xml_node node = root.append_child("PFD");
        Set(node, "A", "PFD" + std::to_string(++m_fields));
        Set(node, "C", Name(field.name, "Field " + std::to_string(m_fields)));
        double area = 0.0;
        for (const FieldBoundary& boundary : field.boundaries) {
            area += AreaOf(boundary).squareMetres;
        }
        Set(node, "D", std::to_string(std::llround(std::max(area, 0.0))));
        for (const FieldBoundary& boundary : field.boundaries) {
            WriteBoundary(node, boundary);
        }
        if (m_version == EIsoXmlVersion::Three) {
            for (const FieldLine& line : field.lines) {
                WritePlainLine(node, line);
            }
        } else if (!field.lines.empty()) {
            pugi::xml_node group = node.append_child("GGP");
            Set(group, "A", "GGP" + std::to_string(++m_groups));
            for (const FieldLine& line : field.lines) {
                WritePattern(group, line);
            }
        }
    }

    void WriteBoundary(pugi::xml_node& field, const FieldBoundary& boundary)
    {
        pugi::xml_node polygon = field.append_child("PLN");
        Set(polygon, "A", "1");
        if (!boundary.name.empty()) {
            Set(polygon, "B", Name(boundary.name, ""));
        }
        WriteRing(polygon, "1", boundary.exterior);
        for (const std::vector<FieldPlace>& hole : boundary.holes) {
            WriteRing(polygon, "2", hole);
        }
    }

    static void WriteRing(pugi::xml_node& polygon, const char* type,
                          const std::vector<FieldPlace>& ring)
    {
        pugi::xml_node lineString = polygon.append_child("LSG");
        Set(lineString, "A", type);
        for (const FieldPlace& place : ring) {
            WritePoint(lineString, kOtherPoint, place);
        }
        if (!ring.empty()) {
            WritePoint(lineString, kOtherPoint, ring.front());
        }
    }

    static void WritePoint(pugi::xml_node& lineString, int type, const FieldPlace& place)
    {
        pugi::xml_node point = lineString.append_child("PNT");
        Set(point, "A", std::to_string(type));
        Set(point, "C", NineDecimals(place.latitude));
        Set(point, "D", NineDecimals(place.longitude));
        if (place.height) {
            Set(point, "E", std::to_string(std::llround(*place.height * 1000.0)));
        }
    }

    void WritePlainLine(pugi::xml_node& field, const FieldLine& line)
    {
        const bool isStraight = line.kind == Kestrove::EWaylineTypeAB;
        if (!isStraight && line.kind != Kestrove::EWaylineTypeABCurve) {
            throw Refusal(line, "ISOXML of version 3");
        }
        if (!isStraight && line.places.size() < 3) {
            throw CFieldFileProblem(Called(line) +
                                    ": ISOXML of version 3 takes an A-B curve of two "
                                    "points for an A-B line");
        }
        pugi::xml_node lineString = field.append_child("LSG");
        Set(lineString, "A", "5");
        Set(lineString, "B", Name(line.name, "Line"));
        for (const FieldPlace& place : line.places) {
            WritePoint(lineString, kOtherPoint, place);
        }
    }

    void WritePattern(pugi::xml_node& group, const FieldLine& line)
    {
        pugi::xml_node pattern = group.append_child("GPN");
        Set(pattern, "A", "GPN" + std::to_string(++m_patterns));
        Set(pattern, "B", Name(line.name, "Line " + std::to_string(m_patterns)));
        switch (line.kind) {
        case Kestrove::EWaylineTypeAB:
            return WritePoints(pattern, kIsoAB, line);
        case Kestrove::EWaylineTypeAHeading:
            Set(pattern, "G", NineDecimals(line.headingDegrees));
            return WritePoints(pattern, kIsoAPlus, line);
        case Kestrove::EWaylineTypeABCurve:
            return WritePoints(pattern, kIsoCurve, line);
        case Kestrove::EWaylineTypeCircle:
            return WriteCircle(pattern, line);
        default:
            throw Refusal(line, "ISOXML");
        }
    }

    static void WritePoints(pugi::xml_node& pattern, EIsoPattern kind, const FieldLine& line)
    {
        Set(pattern, "C", std::to_string(kind));
        pugi::xml_node lineString = pattern.append_child("LSG");
        Set(lineString, "A", "5");
        for (std::size_t i = 0; i < line.places.size(); ++i) {
            const int type = i == 0                        ? kGuidanceA
                             : i + 1 == line.places.size() ? kGuidanceB
                                                           : kGuidancePoint;
            WritePoint(lineString, type, line.places[i]);
        }
    }

    static void WriteCircle(pugi::xml_node& pattern, const FieldLine& line)
    {
        const GroundCircle circle = CircleOf(line);
        Set(pattern, "C", std::to_string(kIsoPivot));
        Set(pattern, "D", "3"); // all the way round
        Set(pattern, "H", std::to_string(std::llround(circle.radius * 1000.0)));
        pugi::xml_node lineString = pattern.append_child("LSG");
        Set(lineString, "A", "5");
        WritePoint(lineString, kGuidanceCentre, circle.centre);
    }

    static std::string Called(const FieldLine& line)
    {
        return line.name.empty() ? "a line" : "line \"" + line.name + "\"";
    }

    static CFieldFileProblem Refusal(const FieldLine& line, const std::string& format)
    {
        return CFieldFileProblem(Called(line) + ": " + format + " has no " + KindTitle(line.kind));
    }

    std::string Name(const std::string& name, const std::string& otherwise)
    {
        const std::string whole = XmlName(name);
        const std::string cut = XmlName(name, kLongestName);
        if (cut != whole) {
            m_file.Note("\"" + whole + "\" was cut to 32 characters: \"" + cut + "\"");
        }
        return cut.empty() ? otherwise : cut;
    }

    CFieldFile& m_file;
    EIsoXmlVersion m_version;
    int m_fields = 0;
    int m_groups = 0;
    int m_patterns = 0;
};

} // namespace

std::string WriteIsoXml(CFieldFile& file, EIsoXmlVersion version)
{
    const bool isThree = version == EIsoXmlVersion::Three;
    pugi::xml_document document;
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    Set(declaration, "version", "1.0");
    Set(declaration, "encoding", "UTF-8");
    pugi::xml_node root = document.append_child("ISO11783_TaskData");
    Set(root, "VersionMajor", isThree ? "3" : "4");
    Set(root, "VersionMinor", "3");
    Set(root, "ManagementSoftwareManufacturer", "Kestrove");
    Set(root, "ManagementSoftwareVersion", "1");
    Set(root, "DataTransferOrigin", "1");
    CIsoXmlWriting(file, version).WriteFields(root);
    return XmlText(document);
}
