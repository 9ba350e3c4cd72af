#include "tools/navctl/wayline/WaylineCommand.h"

#include <memory>

#include "tools/fieldfiles/NumberWords.h"
#include "tools/navctl/fields/FieldCommands.h"
#include "tools/navctl/fields/FieldTarget.h"
#include "tools/navctl/files/OpenFile.h"
#include "tools/navctl/wayline/WaylineGeoJson.h"
#include "tools/navctl/wayline/WaylinePlot.h"
#include "tools/navctl/wayline/WaylineReport.h"
#include "tools/navctl/wayline/WaylineServiceCommands.h"
#include "tools/navctl/wayline/WaylineSource.h"

namespace {

/// The command line of show, convert and plot.
struct FileOptions
{
    WaylineSource source;
    std::string target = "-";
    std::optional<EWaylineFormat> targetFormat;
    std::optional<EFieldFormat> targetFieldFormat;
};

std::string Counted(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " wayline" : " waylines");
}

void Show(CContext& context, const FileOptions& options)
{
    const std::optional<WaylineList> list = ReadSource(context, options.source);
    if (!list) {
        return;
    }
    Json waylines = Json::array();
    std::string text;
    for (const WaylineList::Entry& entry : list->entries) {
        Json wayline{{"line", entry.number},
                     {"field", entry.field.empty() ? Json(nullptr) : Json(entry.field)}};
        wayline.update(WaylineJson(entry.content));
        waylines.push_back(wayline);
        text += (text.empty() ? "" : "\n") + std::to_string(entry.number) + ": " +
                WaylineWords(entry.content);
    }
    context.Print({{"waylines", waylines}}, text);
}

/// Gathers pieces of the standard output, so that not each is written by itself.
class CPieces
{
public:
    explicit CPieces(COutput& output) : m_output(output) {}

    void Write(const std::string& text)
    {
        m_text += text;
        if (m_text.size() >= kMost) {
            End();
        }
    }
    void End()
    {
        m_output.Write(m_text);
        m_text.clear();
    }

private:
    static constexpr std::size_t kMost = 65536;

    COutput& m_output;
    std::string m_text;
};

/// The place as --origin takes it.
std::string OriginWords(const GeodeticPlace& origin)
{
    return ShortestNumber(origin.latitude) + "," + ShortestNumber(origin.longitude) + "," +
           ShortestNumber(origin.height);
}

/// Adds to a result the origin that was chosen for it.
Json WithChosenOrigin(Json value, const WaylineList& list)
{
    if (list.isOriginChosen) {
        value["origin"] = {{"latitude", list.origin->latitude},
                           {"longitude", list.origin->longitude},
                           {"height", list.origin->height}};
    }
    return value;
}

void ReportWritten(CContext& context, const WaylineList& list, const std::string& target,
                   const std::string& words)
{
    context.Print(WithChosenOrigin({{"outcome", "done"}, {"file", target}}, list),
                  words + " written to " + target);
}

/// Writes waylines to the standard output. With --json that is one JSON value: GeoJSON as it is,
/// another format as a text.
///
/// @return why they cannot be written in the format.
std::string WriteToOutput(CContext& context, const WaylineList& list, EWaylineFormat format,
                          const std::optional<GeodeticPlace>& origin)
{
    if (context.WritesJson() && format != EWaylineFormat::GeoJson) {
        std::string content;
        const std::string problem = WriteWaylines(
            list, format, origin, true, [&content](const std::string& text) { content += text; });
        if (problem.empty()) {
            context.Print(WithChosenOrigin({{"content", content}}, list), "");
        }
        return problem;
    }
    CPieces pieces(context.Output());
    const std::string problem =
        WriteWaylines(list, format, origin, context.WritesJson(),
                      [&pieces](const std::string& text) { pieces.Write(text); });
    pieces.End();
    return problem;
}

/// Converts to a file of fields.
void ConvertToFields(CContext& context, const FileOptions& options, CSourceFile& file,
                     EFieldFormat format)
{
    const FieldTarget target{options.target, format, EShapes::Lines};
    const EFileContent content = ContentOf(options.source, file);
    if (content == EFileContent::Fields || content == EFileContent::GeoJson) {
        const std::optional<CFieldFile> fields = ReadFieldSource(context, options.source, file);
        return fields ? WriteFields(context, *fields, target) : void();
    }
    const std::optional<WaylineList> list = ReadSource(context, options.source, file);
    if (!list) {
        return;
    }
    const std::optional<GeodeticPlace> origin =
        options.source.reading.origin ? options.source.reading.origin : list->origin;
    if (!origin) {
        return context.Fail(kExitUsage, "a file of fields needs the origin of the local frame: "
                                        "--origin LAT,LON,HEIGHT");
    }
    try {
        WriteFields(context, FieldsOf(*list, *origin), target);
    } catch (const CFieldFileProblem& problem) {
        context.Fail(kExitUsage, options.source.file + ": " + problem.what());
    }
}

/// Whether a file has places on the earth, which are to stay such.
bool IsOfFields(const WaylineSource& source, CSourceFile& file)
{
    if (source.reading.origin || !file.Problem().empty()) {
        return false;
    }
    const EFileContent content = ContentOf(source, file);
    try {
        return content == EFileContent::Fields ||
               (content == EFileContent::GeoJson && !NamesOrigin(file.Bytes()));
    } catch (const CFieldFileProblem&) {
        return false; // reported when it is read
    }
}

/// The format of the target where that is a file of fields. GeoJSON is one where it is made of
/// another one; of waylines it has their frame and their values in full, see WaylineGeoJson.h.
std::optional<EFieldFormat> FieldFormatOf(const FileOptions& options, CSourceFile& file)
{
    const std::optional<EFieldFormat> format = options.targetFormat || options.targetFieldFormat
                                                   ? options.targetFieldFormat
                                                   : FieldFormatOfTarget(options.target);
    return format == EFieldFormat::GeoJson && !IsOfFields(options.source, file) ? std::nullopt
                                                                                : format;
}

/// Reports which of the file's content the target cannot hold, and which frame it is in where
/// nothing in the target says so.
void TellLeftOut(const WaylineList& list, const std::string& file, EWaylineFormat format)
{
    if (list.isOriginChosen && format != EWaylineFormat::GeoJson) {
        WriteError(file + ": the origin of the local frame is its first place: --origin " +
                   OriginWords(*list.origin));
    }
    if (list.boundaries == 0) {
        return;
    }
    WriteError(file + ": " + std::to_string(list.boundaries) +
               (list.boundaries == 1 ? " boundary is" : " boundaries are") +
               " left out; navctl boundary convert writes boundaries");
}

void WriteToFile(CContext& context, const WaylineList& list, EWaylineFormat format,
                 const std::optional<GeodeticPlace>& origin, const std::string& target)
{
    // Opened with the first piece: a file stays as it is when the waylines cannot be written.
    std::optional<CTargetFile> file;
    const std::string problem =
        WriteWaylines(list, format, origin, false, [&](const std::string& text) {
            if (!file) {
                file.emplace(target);
            }
            file->Write(text);
        });
    if (!problem.empty()) {
        return context.Fail(kExitUsage, problem);
    }
    const std::string failure = file->End();
    if (!failure.empty()) {
        return context.Fail(kExitCannotWrite, failure);
    }
    ReportWritten(context, list, target, Counted(list.entries.size()));
}

void Convert(CContext& context, const FileOptions& options)
{
    CSourceFile source(options.source.file);
    const std::optional<EFieldFormat> fieldFormat = FieldFormatOf(options, source);
    if (fieldFormat) {
        return ConvertToFields(context, options, source, *fieldFormat);
    }
    if (options.target == "-" && !options.targetFormat) {
        return context.Fail(kExitUsage, "the standard output has no name that tells the format: "
                                        "--to text, geojson, csv, isoxml, kml, kmz or geopackage");
    }
    if (!options.targetFormat) {
        const std::string problem = TargetProblem(options.target);
        if (!problem.empty()) {
            return context.Fail(kExitUsage, problem);
        }
    }
    const std::optional<WaylineList> list = ReadSource(context, options.source, source);
    if (!list) {
        return;
    }
    const EWaylineFormat format = options.targetFormat.value_or(WaylineFormatOf(options.target));
    TellLeftOut(*list, options.source.file, format);
    const std::optional<GeodeticPlace> origin =
        options.source.reading.origin ? options.source.reading.origin : list->origin;
    if (options.target == "-") {
        const std::string problem = WriteToOutput(context, *list, format, origin);
        if (!problem.empty()) {
            context.Fail(kExitUsage, problem);
        }
        return;
    }
    WriteToFile(context, *list, format, origin, options.target);
}

void Plot(CContext& context, const FileOptions& options)
{
    const std::string ending = EndingOf(options.target);
    if (!ending.empty() && ending != ".svg") {
        return context.Fail(kExitUsage, options.target +
                                            ": the picture is SVG, whose ending is "
                                            ".svg, not " +
                                            ending);
    }
    const std::optional<WaylineList> list = ReadSource(context, options.source);
    if (!list) {
        return;
    }
    const std::string picture = WaylinePlot(*list);
    if (picture.empty()) {
        return context.Fail(kExitUsage, options.source.file + ": there is no point to draw within "
                                                              "a million kilometres");
    }
    if (options.target == "-") {
        if (context.WritesJson()) {
            context.Print({{"content", picture}}, "");
        } else {
            context.Output().Write(picture);
        }
        return;
    }
    const std::string problem = WriteWholeFile(options.target, picture);
    if (!problem.empty()) {
        return context.Fail(kExitCannotWrite, problem);
    }
    ReportWritten(context, *list, options.target, "picture of " + Counted(list->entries.size()));
}

using FileAction = void (*)(CContext&, const FileOptions&);

CLI::App* AddFileCommand(CLI::App& group, CContext& context, const char* name, const char* help,
                         const std::shared_ptr<FileOptions>& options, FileAction action)
{
    CLI::App* command = group.add_subcommand(name, help);
    AddWaylineSource(*command, options->source);
    command->callback([&context, options, action] { action(context, *options); });
    return command;
}

} // namespace

void AddWaylineCommand(CLI::App& app, CContext& context)
{
    CLI::App* group = app.add_subcommand("wayline", "Shows, converts, draws and sets waylines");
    group->require_subcommand(1);
    group->fallthrough();
    group->footer("The files' formats are told in navctl-files.md.");
    AddFileCommand(*group, context, "show",
                   "Tells kind, points, length and bounds of a file's waylines",
                   std::make_shared<FileOptions>(), Show);
    AddWaylineListCommand(*group, context);
    const auto convert = std::make_shared<FileOptions>();
    CLI::App* command = AddFileCommand(
        *group, context, "convert",
        "Converts waylines between text form, GeoJSON, CSV and files of fields", convert, Convert);
    command->add_option("TARGET", convert->target, "The file to write; - for standard output")
        ->capture_default_str();
    AddTargetFormatOption(*command, convert->targetFormat, convert->targetFieldFormat);
    const auto plot = std::make_shared<FileOptions>();
    command = AddFileCommand(*group, context, "plot", "Draws a file's waylines as an SVG picture",
                             plot, Plot);
    command->add_option("PICTURE", plot->target, "The SVG file to write; - for standard output")
        ->required();
    AddWaylineServiceCommands(*group, context);
}
