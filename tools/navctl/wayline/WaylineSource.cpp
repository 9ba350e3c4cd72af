#include "tools/navctl/wayline/WaylineSource.h"

#include <algorithm>

#include "platform/Utilities.h"
#include "tools/navctl/Names.h"
#include "tools/navctl/Suggestion.h"
#include "tools/navctl/UsageProblem.h"

namespace {

constexpr std::size_t kMostProblemsTold = 20;
constexpr int kMostLines = 1000000000;

Kestrove::EWaylineType ParseKind(const std::string& name, const std::string& text)
{
    int code = 0;
    const bool isNumber = Core::Utilities::ParseInt(text, code) != 0;
    std::string all;
    std::vector<std::string> words;
    for (const auto& [word, value] : WaylineKindNames()) {
        words.push_back(word);
        if (text == word || (isNumber && code == value))
            return static_cast<Kestrove::EWaylineType>(value);
        if (value != Kestrove::EWaylineTypeEmpty)
            all += (all.empty() ? "" : ", ") + word;
    }
    throw CLI::ValidationError(name, "\"" + text + "\" is none of " + all +
                                         ", nor the code of one" + Suggestion(text, words));
}

void TellProblems(CContext& context, const std::vector<std::string>& problems)
{
    context.Fail(kExitUsage, problems.front(), {{"problems", problems}});
    const std::size_t told = std::min(problems.size(), kMostProblemsTold);
    for (std::size_t i = 1; i < told; ++i)
        WriteError(problems[i]);
    if (told < problems.size())
        WriteError("and " + std::to_string(problems.size() - told) + " more");
}

} // namespace

const std::map<std::string, EWaylineFormat>& WaylineFormatNames()
{
    static const std::map<std::string, EWaylineFormat> kNames{{"text", EWaylineFormat::Text},
                                                              {"geojson", EWaylineFormat::GeoJson},
                                                              {"csv", EWaylineFormat::Csv}};
    return kNames;
}

bool IsKindOfPoints(Kestrove::EWaylineType kind)
{
    return kind == Kestrove::EWaylineTypeAB || kind == Kestrove::EWaylineTypeCircle ||
           kind == Kestrove::EWaylineTypeSpline || kind == Kestrove::EWaylineTypeABCurve;
}

void AddFormatOption(CLI::App& command, const char* name, const char* help,
                     std::optional<EWaylineFormat>& format)
{
    command
        .add_option_function<std::string>(
            name, [&format](const std::string& word) { format = WaylineFormatNames().at(word); },
            help)
        ->check(WordAmong(WordsOf(WaylineFormatNames())))
        ->type_name("FORMAT");
}

void AddOriginOption(CLI::App& command, std::optional<GeodeticPlace>& origin)
{
    command
        .add_option_function<std::string>(
            "--origin",
            [&origin](const std::string& text) {
                std::string problem;
                origin = ParsePlace(text, problem);
                if (!origin)
                    throw CLI::ValidationError("--origin", problem);
            },
            "Where the local frame is: degrees, degrees, metres above the ellipsoid")
        ->type_name("LAT,LON,HEIGHT");
}

CLI::Option* AddKindOption(CLI::App& command, const char* name, const char* help,
                           Kestrove::EWaylineType& kind)
{
    return command
        .add_option_function<std::string>(
            name, [&kind, name](const std::string& text) { kind = ParseKind(name, text); }, help)
        ->type_name("KIND");
}

void AddWaylineSource(CLI::App& command, WaylineSource& source)
{
    command.add_option("FILE", source.file, "The file; - for standard input")->required();
    AddFormatOption(command, "--from",
                    "text, geojson or csv; otherwise told from the ending of the file's name",
                    source.format);
    AddOriginOption(command, source.reading.origin);
    AddKindOption(command, "--kind",
                  "What points without a kind are: ab, circle, spline or ab-curve (the default)",
                  source.reading.kind);
    command
        .add_option("--line", source.number,
                    "The line (of GeoJSON the feature) of the only wayline that is wanted")
        ->check(WholeNumberWithin(1, kMostLines))
        ->type_name("NUMBER");
}

std::optional<WaylineList> ReadSource(CContext& context, const WaylineSource& source)
{
    const Kestrove::EWaylineType kind = source.reading.kind;
    if (!IsKindOfPoints(kind)) {
        context.Fail(kExitUsage,
                     "--kind " + KindName(kind) + ": points alone make no " + KindTitle(kind));
        return std::nullopt;
    }
    WaylineList list = ReadWaylineFile(
        source.file, source.format.value_or(WaylineFormatOf(source.file)), source.reading);
    if (!list.problems.empty()) {
        TellProblems(context, list.problems);
        return std::nullopt;
    }
    if (!source.number)
        return list;
    const auto wanted =
        std::find_if(list.entries.begin(), list.entries.end(),
                     [&](const auto& entry) { return entry.number == *source.number; });
    if (wanted == list.entries.end()) {
        context.Fail(kExitUsage, source.file + ": there is no wayline in line " +
                                     std::to_string(*source.number));
        return std::nullopt;
    }
    const WaylineList::Entry only = *wanted;
    list.entries = {only};
    return list;
}
