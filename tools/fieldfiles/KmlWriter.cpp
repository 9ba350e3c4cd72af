#include "tools/fieldfiles/Kml.h"
#include "tools/fieldfiles/MapFeature.h"
#include "tools/fieldfiles/NumberWords.h"
#include "tools/fieldfiles/XmlFile.h"

namespace {

void AppendText(pugi::xml_node& node, const char* name, const std::string& text)
{
    node.append_child(name).text().set(text.c_str());
}

void AppendCoordinates(pugi::xml_node node, const std::vector<FieldPlace>& places)
{
    std::string text;
    for (const FieldPlace& place : places) {
        text += (text.empty() ? "" : " ") + ShortestNumber(place.longitude) + "," +
                ShortestNumber(place.latitude);
    }
    AppendText(node, "coordinates", text);
}

void AppendData(pugi::xml_node& placemark, const MapFeature& feature)
{
    pugi::xml_node data = placemark.append_child("ExtendedData");
    const auto append = [&data](const char* name, const std::string& value) {
        pugi::xml_node item = data.append_child("Data");
        item.append_attribute("name").set_value(name);
        AppendText(item, "value", XmlName(value));
    };
    append("field", feature.field);
    if (!feature.kind.empty()) {
        append("kind", feature.kind);
    }
    if (feature.headingDegrees) {
        append("heading", ShortestNumber(*feature.headingDegrees));
    }
}

void AppendPlacemark(pugi::xml_node& folder, const MapFeature& feature)
{
    pugi::xml_node placemark = folder.append_child("Placemark");
    if (!feature.name.empty()) {
        AppendText(placemark, "name", XmlName(feature.name));
    }
    AppendData(placemark, feature);
    const std::vector<std::vector<FieldPlace>>& rings = feature.parts.front();
    pugi::xml_node geometry = placemark.append_child(feature.isArea ? "Polygon" : "LineString");
    AppendText(geometry, "tessellate", "1");
    if (!feature.isArea) {
        return AppendCoordinates(geometry, rings.front());
    }
    for (std::size_t i = 0; i < rings.size(); ++i) {
        pugi::xml_node side = geometry.append_child(i == 0 ? "outerBoundaryIs" : "innerBoundaryIs");
        AppendCoordinates(side.append_child("LinearRing"), rings[i]);
    }
}

} // namespace

std::string WriteKml(const CFieldFile& file)
{
    pugi::xml_document document;
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");
    pugi::xml_node root = document.append_child("kml");
    root.append_attribute("xmlns").set_value("http://www.opengis.net/kml/2.2");
    pugi::xml_node content = root.append_child("Document");
    for (const Field& field : file.fields) {
        pugi::xml_node folder = content.append_child("Folder");
        AppendText(folder, "name", XmlName(field.name));
        CFieldFile one;
        one.fields.push_back(field);
        for (const MapFeature& feature : AreaFeatures(one)) {
            AppendPlacemark(folder, feature);
        }
        for (const MapFeature& feature : LineFeatures(one)) {
            AppendPlacemark(folder, feature);
        }
    }
    return XmlText(document);
}
