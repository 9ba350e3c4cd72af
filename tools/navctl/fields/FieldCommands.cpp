#include "tools/navctl/fields/FieldCommands.h"

#include <memory>
#include <unordered_map>

#include "tools/fieldfiles/FieldFormat.h"
#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/navctl/UsageProblem.h"
#include "tools/navctl/fields/FieldSource.h"
#include "tools/navctl/fields/FieldTarget.h"
#include "tools/navctl/wayline/WaylineReport.h"
#include "tools/navctl/wayline/WaylineSource.h"

namespace {

constexpr double kSquareMetresInHectare = 10000.0;

/// A line in its own frame, whose origin is its first place.
WaylineContent AtItsPlace(const FieldLine& line)
{
    return ToWayline(line, FrameAt(line.places.at(0)));
}

Json PlaceJson(const FieldPlace& place)
{
    return {{"latitude", place.latitude},
            {"longitude", place.longitude},
            {"height", place.height ? Json(*place.height) : Json(nullptr)}};
}

Json LineJson(const FieldLine& line)
{
    Json value{{"line", line.number}};
    value.update(WaylineJson(AtItsPlace(line)));
    value.erase("bounds_m");
    value["first_point"] = PlaceJson(line.places.front());
    return value;
}

Json BoundaryJson(const FieldBoundary& boundary)
{
    const GroundArea area = AreaOf(boundary);
    return {{"boundary", boundary.number},
            {"name", boundary.name.empty() ? Json(nullptr) : Json(boundary.name)},
            {"points", boundary.exterior.size()},
            {"holes", boundary.holes.size()},
            {"area_m2", area.squareMetres},
            {"perimeter_m", area.perimeter},
            {"first_point", PlaceJson(boundary.exterior.front())}};
}

std::string LineText(const FieldLine& line)
{
    const std::string words = WaylineWords(AtItsPlace(line));
    // Behind the semicolon stand the bounds, of a frame that nobody else has.
    return "  line " + std::to_string(line.number) + ": " + words.substr(0, words.rfind("; x "));
}

std::string BoundaryText(const FieldBoundary& boundary)
{
    const GroundArea area = AreaOf(boundary);
    std::string text = "  boundary " + std::to_string(boundary.number);
    text += boundary.name.empty() ? ":" : ": \"" + Printable(boundary.name) + "\",";
    text += " " + Metres(area.squareMetres / kSquareMetresInHectare) + " ha, " +
            Metres(area.perimeter) + " m around, " + std::to_string(boundary.exterior.size()) +
            " points";
    if (!boundary.holes.empty()) {
        text += ", " + std::to_string(boundary.holes.size()) +
                (boundary.holes.size() == 1 ? " hole" : " holes");
    }
    return text;
}

/// Gathers what a list shows of a file of fields.
class CFieldListing
{
public:
    explicit CFieldListing(const std::vector<RefusedLine>& refused)
    {
        for (const RefusedLine& line : refused) {
            m_refused[line.field].push_back(&line);
        }
    }

    /// Adds a field with the lines left out of it; of several of one name the first one has those.
    void Add(const Field& field)
    {
        Json lines = Json::array();
        Json boundaries = Json::array();
        Json leftOut = Json::array();
        m_text +=
            (m_text.empty() ? "" : "\n") + std::string("field \"") + Printable(field.name) + "\"";
        for (const FieldLine& line : field.lines) {
            lines.push_back(LineJson(line));
            m_text += "\n" + LineText(line);
        }
        for (const FieldBoundary& boundary : field.boundaries) {
            boundaries.push_back(BoundaryJson(boundary));
            m_text += "\n" + BoundaryText(boundary);
        }
        for (const RefusedLine* line : m_refused[field.name]) {
            leftOut.push_back(
                {{"line", line->number}, {"name", line->name}, {"reason", line->reason}});
            m_text += "\n  left out: line " + std::to_string(line->number) + " \"" +
                      Printable(line->name) + "\": " + Printable(line->reason);
        }
        m_refused.erase(field.name);
        m_fields.push_back({{"name", field.name},
                            {"lines", lines},
                            {"boundaries", boundaries},
                            {"left_out", leftOut}});
    }

    const Json& Fields() const { return m_fields; }
    const std::string& Text() const { return m_text; }

private:
    Json m_fields = Json::array();
    std::string m_text;
    std::unordered_map<std::string, std::vector<const RefusedLine*>> m_refused; ///< by their field
};

void PrintFields(CContext& context, const CFieldFile& file)
{
    CFieldListing listing(file.refused);
    for (const Field& field : file.fields) {
        listing.Add(field);
    }
    context.Print({{"fields", listing.Fields()}, {"notes", file.Notes()}}, listing.Text());
}

/// A file of the text form or of CSV, which has neither fields nor boundaries.
void ListWaylines(CContext& context, const WaylineSource& source, CSourceFile& opened)
{
    const std::optional<WaylineList> list = ReadSource(context, source, opened);
    if (!list) {
        return;
    }
    Json lines = Json::array();
    std::string text;
    for (const WaylineList::Entry& entry : list->entries) {
        Json line{{"line", entry.number}};
        line.update(WaylineJson(entry.content));
        lines.push_back(line);
        text += (text.empty() ? "  line " : "\n  line ") + std::to_string(entry.number) + ": " +
                WaylineWords(entry.content);
    }
    const Json field{{"name", nullptr},
                     {"lines", lines},
                     {"boundaries", Json::array()},
                     {"left_out", Json::array()}};
    context.Print({{"fields", Json::array({field})}, {"notes", Json::array()}}, text);
}

void ListLines(CContext& context, const WaylineSource& source)
{
    CSourceFile opened(source.file);
    const EFileContent content = ContentOf(source, opened);
    if (content != EFileContent::Fields && content != EFileContent::GeoJson) {
        return ListWaylines(context, source, opened);
    }
    const FieldChoice choice = ChoiceOf(source);
    std::optional<CFieldFile> file = ReadFields(context, opened, choice);
    if (!file) {
        return;
    }
    const std::string problem = ChooseLines(*file, choice);
    if (!problem.empty()) {
        return context.Fail(kExitUsage, source.file + ": " + problem);
    }
    PrintFields(context, *file);
}

/// The command line of the commands for boundaries.
struct BoundaryOptions
{
    std::string file;
    FieldChoice choice;
    std::string target;
    std::optional<EFieldFormat> format;
};

std::optional<CFieldFile> ReadBoundaries(CContext& context, const BoundaryOptions& options)
{
    CSourceFile opened(options.file);
    const EFileContent content = opened.Content();
    const bool isOfFields = content == EFileContent::Fields || content == EFileContent::GeoJson;
    if (opened.Problem().empty() && !isOfFields) {
        context.Fail(kExitUsage, options.file + ": there are no boundaries in it; supported are " +
                                     SupportedFieldFormats());
        return std::nullopt;
    }
    std::optional<CFieldFile> file = ReadFields(context, opened, options.choice);
    if (!file) {
        return std::nullopt;
    }
    const std::string problem = ChooseBoundaries(*file, options.choice);
    if (problem.empty()) {
        return file;
    }
    context.Fail(kExitUsage, options.file + ": " + problem);
    return std::nullopt;
}

void ConvertBoundaries(CContext& context, const BoundaryOptions& options)
{
    const std::optional<EFieldFormat> format =
        options.format ? options.format : FieldFormatOfTarget(options.target);
    if (!format) {
        return context.Fail(kExitUsage, options.target +
                                            ": its name does not tell the format; "
                                            "choose one with --to: " +
                                            FieldFormatWords());
    }
    const std::optional<CFieldFile> file = ReadBoundaries(context, options);
    if (file) {
        WriteFields(context, *file, {options.target, *format, EShapes::Areas});
    }
}

CLI::App* AddBoundarySource(CLI::App& group, const char* name, const char* help,
                            const std::shared_ptr<BoundaryOptions>& options)
{
    CLI::App* command = group.add_subcommand(name, help);
    command->add_option("FILE", options->file, "The file or folder; - for standard input")
        ->required();
    command
        ->add_option("--field", options->choice.field, "The name of the only field that is wanted")
        ->type_name("NAME");
    command
        ->add_option("--boundary", options->choice.line,
                     "The name or the number of the only boundary that is wanted")
        ->type_name("NAME");
    return command;
}

} // namespace

void AddWaylineListCommand(CLI::App& group, CContext& context)
{
    CLI::App* command =
        group.add_subcommand("list", "Tells a file's fields with their lines and boundaries");
    const auto source = std::make_shared<WaylineSource>();
    AddWaylineSource(*command, *source);
    command->callback([&context, source] { ListLines(context, *source); });
}

void AddBoundaryCommand(CLI::App& app, CContext& context)
{
    CLI::App* group = app.add_subcommand("boundary", "Shows and converts the boundaries of fields");
    group->require_subcommand(1);
    group->fallthrough();
    group->footer("The files' formats are told in navctl-files.md.");
    const auto shown = std::make_shared<BoundaryOptions>();
    AddBoundarySource(*group, "list", "Tells the boundaries of a file's fields", shown)
        ->callback([&context, shown] {
            const std::optional<CFieldFile> file = ReadBoundaries(context, *shown);
            if (file) {
                PrintFields(context, *file);
            }
        });
    const auto converted = std::make_shared<BoundaryOptions>();
    CLI::App* convert = AddBoundarySource(*group, "convert",
                                          "Converts boundaries between files of fields", converted);
    convert->add_option("TARGET", converted->target, "The file to write; - for standard output")
        ->required();
    AddFieldFormatOption(*convert, converted->format);
    convert->callback([&context, converted] { ConvertBoundaries(context, *converted); });
}
