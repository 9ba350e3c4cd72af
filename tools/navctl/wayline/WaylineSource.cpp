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
        if (text == word || (isNumber && code == value)) {
            return static_cast<Kestrove::EWaylineType>(value);
        }
        if (value != Kestrove::EWaylineTypeEmpty) {
            all += (all.empty() ? "" : ", ") + word;
        }
    }
    throw CLI::ValidationError(name, "\"" + text + "\" is none of " + all +
                                         ", nor the code of one" + Suggestion(text, words));
}

bool IsDigits(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

void TakeLine(WaylineSource& source, const std::string& text)
{
    source.line = text;
    if (!IsDigits(text)) {
        return;
    }
    std::string number = text;
    const std::string problem = WholeNumberWithin(1, kMostLines)(number);
    if (!problem.empty()) {
        throw CLI::ValidationError("--line", problem);
    }
    source.number = std::stoull(text);
}

/// The wayline of the name that is wanted or, where none has it, of the number.
std::string ChooseEntry(WaylineList& list, const WaylineSource& source)
{
    const auto leave = [&](const auto& isWanted) {
        const auto wanted = std::find_if(list.entries.begin(), list.entries.end(), isWanted);
        if (wanted == list.entries.end()) {
            return false;
        }
        const WaylineList::Entry only = *wanted;
        list.entries = {only};
        return true;
    };
    const auto isCalled = [&](const auto& entry) { return entry.content.name == source.line; };
    if (source.line.empty()) {
        return {};
    }
    const auto count = std::count_if(list.entries.begin(), list.entries.end(), isCalled);
    if (count > 1) {
        return "there are " + std::to_string(count) + " of the name \"" + source.line +
               "\"; choose one by its number";
    }
    if (leave(isCalled)) {
        return {};
    }
    if (!source.number) {
        return "there is no wayline \"" + source.line + "\" in it";
    }
    if (leave([&](const auto& entry) { return entry.number == *source.number; })) {
        return {};
    }
    return "there is no wayline in line " + std::to_string(*source.number);
}

/// Whether points alone can make the kind that was asked for; if not, that has been reported.
bool HasUsableKind(CContext& context, const WaylineSource& source)
{
    const Kestrove::EWaylineType kind = source.reading.kind;
    if (IsKindOfPoints(kind)) {
        return true;
    }
    context.Fail(kExitUsage,
                 "--kind " + KindName(kind) + ": points alone make no " + KindTitle(kind));
    return false;
}

/// Reads the lines of a file of fields.
std::optional<WaylineList> ReadFieldWaylines(CContext& context, const WaylineSource& source,
                                             CSourceFile& file)
{
    const std::optional<CFieldFile> fields = ReadFieldSource(context, source, file);
    return fields ? std::optional(WaylinesOf(*fields, source.reading.origin)) : std::nullopt;
}

/// Reads a file that has waylines alone.
///
/// @return nothing when it cannot be read; that has been reported then and the exit code is set.
std::optional<WaylineList> ReadList(CContext& context, const WaylineSource& source,
                                    CSourceFile& file, EFileContent content)
{
    if (!file.Problem().empty()) {
        const std::string problem = source.file + ": " + file.Problem();
        context.Fail(kExitUsage, problem, {{"problems", {problem}}});
        return std::nullopt;
    }
    if (content != EFileContent::GeoJson) {
        return ReadWaylineLines(file.Lines(), source.file,
                                source.format.value_or(WaylineFormatOf(source.file)),
                                source.reading);
    }
    try {
        return ReadWaylineJson(file.Bytes(), source.file, source.reading);
    } catch (const CFieldFileProblem& problem) {
        context.Fail(kExitUsage, source.file + ": " + problem.what());
        return std::nullopt;
    }
}

void TellProblems(CContext& context, const std::vector<std::string>& problems)
{
    context.Fail(kExitUsage, problems.front(), {{"problems", problems}});
    const std::size_t told = std::min(problems.size(), kMostProblemsTold);
    for (std::size_t i = 1; i < told; ++i) {
        WriteError(problems[i]);
    }
    if (told < problems.size()) {
        WriteError("and " + std::to_string(problems.size() - told) + " more");
    }
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

std::vector<std::string> FieldTargetWords()
{
    return WordsOf(FieldFormatNames());
}

std::vector<std::string> TargetWords()
{
    std::vector<std::string> words = WordsOf(WaylineFormatNames());
    for (const std::string& word : FieldTargetWords()) {
        if (WaylineFormatNames().find(word) == WaylineFormatNames().end()) {
            words.push_back(word);
        }
    }
    return words;
}

void AddFieldFormatOption(CLI::App& command, std::optional<EFieldFormat>& format)
{
    command
        .add_option_function<std::string>(
            "--to", [&format](const std::string& word) { format = FieldFormatCalled(word); },
            "isoxml, isoxml3 (version 3), kml, kmz, shapefile, geopackage or geojson; otherwise "
            "told from the ending of the target's name")
        ->check(WordAmong(FieldTargetWords()))
        ->type_name("FORMAT");
}

void AddTargetFormatOption(CLI::App& command, std::optional<EWaylineFormat>& format,
                           std::optional<EFieldFormat>& fieldFormat)
{
    command
        .add_option_function<std::string>(
            "--to",
            [&](const std::string& word) {
                fieldFormat = FieldFormatCalled(word);
                const auto found = WaylineFormatNames().find(word);
                if (found != WaylineFormatNames().end()) {
                    format = found->second;
                }
            },
            "text, geojson, csv, isoxml, isoxml3 (version 3), kml, kmz, shapefile or geopackage; "
            "otherwise told from the ending of the target's name")
        ->check(WordAmong(TargetWords()))
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
                if (!origin) {
                    throw CLI::ValidationError("--origin", problem);
                }
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
    command
        .add_option("FILE", source.file,
                    "The file, or the folder of an ISOXML; - for standard input")
        ->required();
    AddFormatOption(command, "--from",
                    "text, geojson or csv; otherwise told from what the file begins with and "
                    "the ending of its name",
                    source.format);
    AddOriginOption(command, source.reading.origin);
    AddKindOption(command, "--kind",
                  "What points without a kind are: ab, circle, spline or ab-curve; otherwise an "
                  "ab-curve, of two points in a file of fields an ab line",
                  source.reading.kind)
        ->each([&source](const std::string&) { source.hasKind = true; });
    command
        .add_option_function<std::string>(
            "--line", [&source](const std::string& text) { TakeLine(source, text); },
            "The name of the only wayline that is wanted, or its number, which list shows: of text "
            "and CSV the line in the file")
        ->type_name("LINE");
    command.add_option("--field", source.field, "The name of the only field that is wanted")
        ->type_name("NAME");
}

std::optional<WaylineList> ReadSource(CContext& context, const WaylineSource& source,
                                      CSourceFile& file)
{
    if (!HasUsableKind(context, source)) {
        return std::nullopt;
    }
    const EFileContent content = ContentOf(source, file);
    if (content == EFileContent::Fields ||
        (content == EFileContent::GeoJson && !source.field.empty())) {
        return ReadFieldWaylines(context, source, file);
    }
    if (content == EFileContent::Unknown) {
        context.Fail(kExitUsage, source.file + ": its format is not known; supported are " +
                                     SupportedFieldFormats());
        return std::nullopt;
    }
    if (!source.field.empty()) {
        context.Fail(kExitUsage, source.file + ": --field: its format has no fields");
        return std::nullopt;
    }
    std::optional<WaylineList> list = ReadList(context, source, file, content);
    if (!list) {
        return list;
    }
    // What other programs have drawn on a map: places on the earth and no frame.
    if (list->lacksOrigin) {
        return ReadFieldWaylines(context, source, file);
    }
    if (!list->problems.empty()) {
        // Not one line of it is a wayline: it is something else.
        if (list->entries.empty() && content == EFileContent::Other && !source.format) {
            list->problems.front() += "; supported are " + SupportedFieldFormats();
        }
        TellProblems(context, list->problems);
        return std::nullopt;
    }
    const std::string problem = ChooseEntry(*list, source);
    if (problem.empty()) {
        return list;
    }
    context.Fail(kExitUsage, source.file + ": " + problem);
    return std::nullopt;
}

std::optional<WaylineList> ReadSource(CContext& context, const WaylineSource& source)
{
    CSourceFile file(source.file);
    return ReadSource(context, source, file);
}

EFileContent ContentOf(const WaylineSource& source, CSourceFile& file)
{
    if (source.format && !file.IsFolder()) {
        return source.format == EWaylineFormat::GeoJson ? EFileContent::GeoJson
                                                        : EFileContent::Other;
    }
    const EFileContent content = file.Content();
    const bool isNamedJson = WaylineFormatOf(source.file) == EWaylineFormat::GeoJson;
    return content == EFileContent::Other && isNamedJson ? EFileContent::GeoJson : content;
}

FieldChoice ChoiceOf(const WaylineSource& source)
{
    return {source.field, source.line,
            source.hasKind ? std::optional(source.reading.kind) : std::nullopt};
}

std::optional<CFieldFile> ReadFieldSource(CContext& context, const WaylineSource& source,
                                          CSourceFile& file)
{
    if (!HasUsableKind(context, source)) {
        return std::nullopt;
    }
    const FieldChoice choice = ChoiceOf(source);
    std::optional<CFieldFile> fields = ReadFields(context, file, choice);
    if (!fields) {
        return std::nullopt;
    }
    const std::string problem = ChooseLines(*fields, choice);
    if (!problem.empty()) {
        context.Fail(kExitUsage, source.file + ": " + problem);
        return std::nullopt;
    }
    TellRefused(*fields, source.file, choice);
    return fields;
}
