#include "tools/navctl/wayline/WaylineFile.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/navctl/wayline/WaylineCsv.h"
#include "tools/navctl/wayline/WaylineGeoJson.h"
#include "tools/navctl/wayline/WaylineText.h"

namespace {

/// Whether a line is there for people alone: empty, or one that begins with "#".
bool IsRemark(const std::string& line)
{
    const std::size_t begin = line.find_first_not_of(' ');
    return begin == std::string::npos || line[begin] == '#';
}

WaylineList ReadTextForms(CLineReader& lines)
{
    WaylineList list;
    std::string line;
    ELine state = ELine::Line;
    while ((state = lines.Next(line)) != ELine::End) {
        const std::string where = "line " + std::to_string(lines.LinesGiven()) + ": ";
        std::string problem;
        if (state == ELine::Failed) {
            list.problems.push_back(std::strerror(errno));
            return list;
        }
        if (state == ELine::TooLong) {
            list.problems.push_back(where + "the line is too long");
        } else if (state == ELine::Line && !IsRemark(line)) {
            std::optional<WaylineContent> content = ReadWaylineText(line, problem);
            if (content) {
                list.entries.push_back({lines.LinesGiven(), std::move(*content), ""});
            } else {
                list.problems.push_back(where + problem);
            }
        }
    }
    return list;
}

WaylineList Ended(WaylineList list, const std::string& path)
{
    if (list.entries.empty() && list.problems.empty()) {
        list.problems.push_back("there is no wayline in it");
    }
    for (std::string& problem : list.problems) {
        problem.insert(0, path + ": ");
    }
    return list;
}

} // namespace

std::string EndingOf(const std::string& path)
{
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::size_t point = name.rfind('.');
    std::string ending = point == std::string::npos || point == 0 ? "" : name.substr(point);
    for (char& letter : ending) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return ending;
}

EWaylineFormat WaylineFormatOf(const std::string& path)
{
    const std::string ending = EndingOf(path);
    if (ending == ".geojson" || ending == ".json") {
        return EWaylineFormat::GeoJson;
    }
    return ending == ".csv" ? EWaylineFormat::Csv : EWaylineFormat::Text;
}

std::string TargetProblem(const std::string& path)
{
    const std::string ending = EndingOf(path);
    if (ending.empty() || ending == ".txt" || ending == ".text" ||
        WaylineFormatOf(path) != EWaylineFormat::Text) {
        return {};
    }
    return path + ": no format has the ending " + ending +
           "; written are .txt, .geojson, .json, .csv, .kml, .kmz, .shp, .gpkg, .zip and "
           ".xml (ISOXML), and with --to any other";
}

WaylineList ReadWaylineLines(CLineReader& lines, const std::string& path, EWaylineFormat format,
                             const WaylineReading& reading)
{
    const bool isCsv = format == EWaylineFormat::Csv;
    return Ended(isCsv ? ReadWaylineCsv(lines, reading) : ReadTextForms(lines), path);
}

WaylineList ReadWaylineJson(const std::string& text, const std::string& path,
                            const WaylineReading& reading)
{
    return Ended(ReadWaylineGeoJson(text, reading), path);
}

std::string WriteWaylines(const WaylineList& list, EWaylineFormat format,
                          const std::optional<GeodeticPlace>& origin, bool isOneLine,
                          const TextSink& sink)
{
    for (const WaylineList::Entry& entry : list.entries) {
        const WaylineContent& content = entry.content;
        const std::string few = PointCountProblem(content.kind, content.points.size());
        // The text form carries any number; of the others nothing could be read back.
        if (format != EWaylineFormat::Text && !few.empty()) {
            return "wayline " + std::to_string(entry.number) + ": " + few;
        }
    }
    if (format == EWaylineFormat::Csv) {
        std::string text;
        const std::string problem = WriteWaylineCsv(list, text);
        if (problem.empty()) {
            sink(text);
        }
        return problem;
    }
    if (format == EWaylineFormat::GeoJson) {
        if (!origin) {
            return "GeoJSON needs the origin of the local frame: --origin LAT,LON,HEIGHT";
        }
        WriteWaylineGeoJson(list, *origin, isOneLine, sink);
        return {};
    }
    for (const WaylineList::Entry& entry : list.entries) {
        sink(WriteWaylineText(entry.content) + "\n");
    }
    return {};
}
