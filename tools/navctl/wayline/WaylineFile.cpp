#include "tools/navctl/wayline/WaylineFile.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/navctl/files/LineReader.h"
#include "tools/navctl/files/OpenFile.h"
#include "tools/navctl/wayline/WaylineCsv.h"
#include "tools/navctl/wayline/WaylineGeoJson.h"
#include "tools/navctl/wayline/WaylineText.h"

namespace {

/// More than the longest message that the service would take.
constexpr std::size_t kLongestLine = 64U << 20;
constexpr std::size_t kLongestGeoJson = 256U << 20;

bool EndsWith(const std::string& text, const std::string& ending)
{
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

WaylineList ReadTextForms(CLineReader& lines)
{
    WaylineList list;
    std::string line;
    ELine state = ELine::Line;
    while ((state = lines.Next(line)) != ELine::End) {
        const std::string where = "line " + std::to_string(lines.LineNumber()) + ": ";
        std::string problem;
        if (state == ELine::Failed) {
            list.problems.push_back(std::strerror(errno));
            return list;
        }
        if (state == ELine::TooLong) {
            list.problems.push_back(where + "the line is too long");
        } else if (state == ELine::Line && line.find_first_not_of(' ') != std::string::npos) {
            std::optional<WaylineContent> content = ReadWaylineText(line, problem);
            if (content) {
                list.entries.push_back({lines.LineNumber(), std::move(*content)});
            } else {
                list.problems.push_back(where + problem);
            }
        }
    }
    return list;
}

WaylineList ReadGeoJsonLines(CLineReader& lines, const WaylineReading& reading)
{
    std::string text;
    std::string line;
    ELine state = ELine::Line;
    while ((state = lines.Next(line)) != ELine::End) {
        if (state == ELine::NothingYet)
            continue;
        if (state != ELine::Line || text.size() + line.size() > kLongestGeoJson) {
            WaylineList list;
            list.problems.push_back(state == ELine::Failed ? std::strerror(errno)
                                                           : "the file is too long");
            return list;
        }
        text += line;
        text += '\n';
    }
    return ReadWaylineGeoJson(text, reading);
}

} // namespace

EWaylineFormat WaylineFormatOf(const std::string& path)
{
    if (EndsWith(path, ".geojson") || EndsWith(path, ".json"))
        return EWaylineFormat::GeoJson;
    return EndsWith(path, ".csv") ? EWaylineFormat::Csv : EWaylineFormat::Text;
}

WaylineList ReadWaylineFile(const std::string& path, EWaylineFormat format,
                            const WaylineReading& reading)
{
    WaylineList list;
    const COpenFile file(path);
    if (!file.Problem().empty()) {
        list.problems.push_back(file.Problem());
        return list;
    }
    CLineReader lines(file.Descriptor(), kLongestLine);
    if (format == EWaylineFormat::Text) {
        list = ReadTextForms(lines);
    } else if (format == EWaylineFormat::Csv) {
        list = ReadWaylineCsv(lines, reading);
    } else {
        list = ReadGeoJsonLines(lines, reading);
    }
    if (list.entries.empty() && list.problems.empty())
        list.problems.push_back("there is no wayline in it");
    for (std::string& problem : list.problems)
        problem.insert(0, path + ": ");
    return list;
}

std::string WriteWaylines(const WaylineList& list, EWaylineFormat format,
                          const std::optional<GeodeticPlace>& origin, bool isOneLine,
                          const TextSink& sink)
{
    for (const WaylineList::Entry& entry : list.entries) {
        const WaylineContent& content = entry.content;
        const std::string few = PointCountProblem(content.kind, content.points.size());
        // The text form carries any number; of the others nothing could be read back.
        if (format != EWaylineFormat::Text && !few.empty())
            return "wayline " + std::to_string(entry.number) + ": " + few;
    }
    if (format == EWaylineFormat::Csv) {
        std::string text;
        const std::string problem = WriteWaylineCsv(list, text);
        if (problem.empty())
            sink(text);
        return problem;
    }
    if (format == EWaylineFormat::GeoJson) {
        if (!origin)
            return "GeoJSON needs the origin of the local frame: --origin LAT,LON,HEIGHT";
        WriteWaylineGeoJson(list, *origin, isOneLine, sink);
        return {};
    }
    for (const WaylineList::Entry& entry : list.entries)
        sink(WriteWaylineText(entry.content) + "\n");
    return {};
}
