#include <cstring>
#include <unordered_map>

#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/Kml.h"
#include "tools/fieldfiles/MapFeature.h"
#include "tools/fieldfiles/XmlFile.h"

namespace {

constexpr const char* kBlanks = " \t\r\n";

/// Takes the numbers of a tuple apart: "5.0,52.0,0", with blanks around its commas or without.
class CKmlTuples
{
public:
    explicit CKmlTuples(const char* text) : m_rest(text) { SkipBlanks(); }

    bool HasMore() const { return *m_rest != '\0'; }

    FieldPlace Next()
    {
        const std::string longitude = Word();
        if (!TakeComma()) {
            throw CFieldFileProblem("a coordinate is no pair of longitude and latitude");
        }
        const std::string latitude = Word();
        if (TakeComma()) {
            Word(); // the altitude
        }
        const std::optional<double> east = XmlNumber(longitude, "a longitude");
        const std::optional<double> north = XmlNumber(latitude, "a latitude");
        if (!east || !north || TakeComma()) {
            throw CFieldFileProblem("a coordinate is no pair of longitude and latitude");
        }
        return CheckedPlace(*north, *east);
    }

private:
    void SkipBlanks() { m_rest += std::strspn(m_rest, kBlanks); }

    bool TakeComma()
    {
        if (*m_rest != ',') {
            return false;
        }
        ++m_rest;
        SkipBlanks();
        return true;
    }

    std::string Word()
    {
        const std::size_t length = std::strcspn(m_rest, " \t\r\n,");
        const std::string word(m_rest, length);
        m_rest += length;
        SkipBlanks();
        return word;
    }

    const char* m_rest;
};

std::vector<FieldPlace> PlacesIn(const pugi::xml_node& lineOrRing)
{
    std::vector<FieldPlace> places;
    const std::string text = WordsIn(ChildOf(lineOrRing, "coordinates"));
    CKmlTuples tuples(text.c_str());
    while (tuples.HasMore()) {
        places.push_back(tuples.Next());
        if (places.size() > FileLimits::kPlaces) {
            throw CFieldFileTooLarge("places");
        }
    }
    return places;
}

std::vector<std::vector<FieldPlace>> RingsIn(const pugi::xml_node& polygon)
{
    std::vector<std::vector<FieldPlace>> rings;
    const pugi::xml_node outer = ChildOf(polygon, "outerBoundaryIs");
    rings.push_back(PlacesIn(ChildOf(outer, "LinearRing")));
    for (const pugi::xml_node& inner : polygon) {
        if (IsElement(inner, "innerBoundaryIs")) {
            rings.push_back(PlacesIn(ChildOf(inner, "LinearRing")));
        }
    }
    return rings;
}

std::string TextOf(const pugi::xml_node& node, const char* child)
{
    return Trimmed(WordsIn(ChildOf(node, child))).substr(0, FileLimits::kNameBytes);
}

/// The value of a name, in any case, as programs change that, in a placemark's extended data; of
/// either of the two forms that it may have.
std::string DataOf(const pugi::xml_node& placemark, const std::string& name)
{
    const pugi::xml_node extended = ChildOf(placemark, "ExtendedData");
    const auto isCalled = [&](const pugi::xml_node& node) {
        return LowerCase(node.attribute("name").value()) == name;
    };
    for (const pugi::xml_node& node : extended) {
        if (IsElement(node, "Data") && isCalled(node)) {
            return TextOf(node, "value");
        }
        if (!IsElement(node, "SchemaData")) {
            continue;
        }
        const pugi::xml_node simple = node.find_child(isCalled);
        if (simple) {
            return Trimmed(WordsIn(simple)).substr(0, FileLimits::kNameBytes);
        }
    }
    return {};
}

/// Reads the placemarks of a document, one after the other.
class CKmlReading : public pugi::xml_tree_walker
{
public:
    CKmlReading(const std::optional<Kestrove::EWaylineType>& kind, std::vector<std::string>* beside)
        : features(kind), m_beside(beside)
    {
    }

    CFeatureReading features;

    bool for_each(pugi::xml_node& node) override
    {
        if (IsElement(node, "Placemark")) {
            ReadPlacemark(node);
        }
        if (IsElement(node, "NetworkLink")) {
            ReadLink(node);
        }
        return true;
    }

private:
    void ReadLink(const pugi::xml_node& networkLink)
    {
        const pugi::xml_node link = ChildOf(networkLink, "Link");
        const std::string path = TextOf(link ? link : ChildOf(networkLink, "Url"), "href");
        // A colon stands behind the scheme of an address.
        const bool isBeside = !path.empty() && path.find(':') == std::string::npos;
        if (m_beside == nullptr || !isBeside || m_beside->size() >= FileLimits::kExternalFiles) {
            return features.file.Note("a link to another file is not followed");
        }
        m_beside->push_back(path);
    }

    struct Geometries
    {
        MapFeature line;
        MapFeature area;
    };

    void ReadPlacemark(const pugi::xml_node& placemark)
    {
        Geometries found;
        found.area.isArea = true;
        const std::string layer = FolderOf(placemark);
        try {
            found.line.headingDegrees = XmlNumber(DataOf(placemark, "heading"), "the heading");
            for (const pugi::xml_node& child : placemark) {
                ReadGeometry(child, found, 0);
            }
        } catch (const CFieldFileTooLarge&) {
            throw;
        } catch (const CFieldFileProblem& problem) {
            features.file.FieldOf(layer);
            features.file.Refuse(layer, NameOf(placemark), problem.what());
            return;
        }
        for (MapFeature* feature : {&found.line, &found.area}) {
            feature->name = TextOf(placemark, "name");
            feature->kind = DataOf(placemark, "kind");
            feature->field = DataOf(placemark, "field");
            if (!feature->parts.empty()) {
                features.Add(std::move(*feature), layer);
            }
        }
    }

    void ReadGeometry(const pugi::xml_node& node, Geometries& found, int depth)
    {
        if (IsElement(node, "LineString") || IsElement(node, "LinearRing")) {
            found.line.parts.push_back({PlacesIn(node)});
        } else if (IsElement(node, "Polygon")) {
            found.area.parts.push_back(RingsIn(node));
        } else if (IsElement(node, "MultiGeometry") && depth < FileLimits::kDepth) {
            for (const pugi::xml_node& child : node) {
                ReadGeometry(child, found, depth + 1);
            }
        }
    }

    static std::string NameOf(const pugi::xml_node& placemark)
    {
        const std::string name = TextOf(placemark, "name");
        return name.empty() ? "without a name" : name;
    }

    /// The name of the nearest folder around a placemark that has one.
    std::string FolderOf(const pugi::xml_node& placemark)
    {
        for (pugi::xml_node node = placemark.parent(); node; node = node.parent()) {
            if (!IsElement(node, "Folder") && !IsElement(node, "Document")) {
                continue;
            }
            // A folder may have very many placemarks, among which its name is sought but once.
            const auto [found, isNew] = m_folderNames.try_emplace(node.hash_value());
            if (isNew) {
                found->second = TextOf(node, "name");
            }
            if (!found->second.empty()) {
                return found->second;
            }
        }
        return "Field";
    }

    std::vector<std::string>* m_beside;
    std::unordered_map<std::size_t, std::string> m_folderNames;
};

} // namespace

CFieldFile ReadKml(const std::string& bytes, const std::optional<Kestrove::EWaylineType>& kind,
                   std::vector<std::string>* beside)
{
    pugi::xml_document document;
    ParseXml(bytes, document);
    return ReadKml(document, kind, beside);
}

CFieldFile ReadKml(pugi::xml_document& document, const std::optional<Kestrove::EWaylineType>& kind,
                   std::vector<std::string>* beside)
{
    if (!IsElement(document.document_element(), "kml")) {
        throw CFieldFileProblem("the XML is no KML: its root is " +
                                LocalName(document.document_element()));
    }
    CKmlReading reading(kind, beside);
    document.traverse(reading);
    return std::move(reading.features.file);
}
