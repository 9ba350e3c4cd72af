#include "tools/navctl/fields/FieldSource.h"

#include <algorithm>

#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/ReadFieldFile.h"
#include "tools/navctl/Output.h"

namespace {

std::string Quoted(const std::string& name)
{
    return "\"" + name + "\"";
}

/// The names of things, for a message: the first ten of them.
template <typename Things>
std::string NamesOf(const Things& things)
{
    constexpr std::size_t kMost = 10;
    std::string names;
    std::size_t count = 0;
    for (const auto& thing : things) {
        if (++count > kMost) {
            return names + " and others";
        }
        names += (names.empty() ? "" : ", ") + Quoted(thing.name);
    }
    return names.empty() ? "none" : names;
}

std::string ChooseField(CFieldFile& file, const std::string& name)
{
    if (name.empty()) {
        return {};
    }
    const auto isOther = [&](const Field& field) { return field.name != name; };
    if (std::all_of(file.fields.begin(), file.fields.end(), isOther)) {
        return "there is no field " + Quoted(name) + "; there are: " + NamesOf(file.fields);
    }
    file.fields.erase(std::remove_if(file.fields.begin(), file.fields.end(), isOther),
                      file.fields.end());
    return {};
}

/// Leaves one of the things of all fields, by its name or, where none has it, by its number in the
/// file.
///
/// @return how many there are of that name.
template <typename Thing>
std::size_t LeaveOne(CFieldFile& file, std::vector<Thing> Field::*things, const std::string& wanted)
{
    std::size_t named = 0;
    for (const Field& field : file.fields) {
        for (const Thing& thing : field.*things) {
            named += thing.name == wanted ? 1 : 0;
        }
    }
    std::size_t left = 0;
    for (Field& field : file.fields) {
        std::vector<Thing> kept;
        for (Thing& thing : field.*things) {
            const bool isWanted =
                named > 0 ? thing.name == wanted : std::to_string(thing.number) == wanted;
            if (isWanted) {
                kept.push_back(std::move(thing));
            }
        }
        left += kept.size();
        field.*things = std::move(kept);
    }
    return left;
}

std::string SeveralProblem(const std::string& wanted, std::size_t count)
{
    return count < 2 ? std::string()
                     : "there are " + std::to_string(count) + " of the name " + Quoted(wanted) +
                           "; choose the field with --field, or one by its number";
}

} // namespace

std::optional<CFieldFile> ReadFields(CContext& context, CSourceFile& source,
                                     const FieldChoice& choice)
{
    const std::string& path = source.Path();
    if (!source.Problem().empty()) {
        context.Fail(kExitUsage, source.Problem());
        return std::nullopt;
    }
    try {
        CFieldFile file = source.IsFolder() ? ReadFieldFolder(path)
                                            : ReadFieldFile(path, source.TakeBytes(), choice.kind);
        for (const std::string& note : file.Notes()) {
            WriteError(path + ": " + note);
        }
        return file;
    } catch (const CFieldFileProblem& problem) {
        context.Fail(kExitUsage, path + ": " + problem.what());
    }
    return std::nullopt;
}

void TellRefused(const CFieldFile& file, const std::string& path, const FieldChoice& choice)
{
    constexpr std::size_t kMost = 20;
    if (!choice.line.empty()) {
        return;
    }
    std::size_t count = 0;
    for (const RefusedLine& line : file.refused) {
        const bool isWanted = choice.field.empty() || line.field == choice.field;
        if (isWanted && ++count <= kMost) {
            WriteError(path + ": left out: line " + Quoted(line.name) + ": " + line.reason);
        }
    }
    if (count > kMost) {
        WriteError(path + ": and " + std::to_string(count - kMost) + " more lines");
    }
}

std::string ChooseLines(CFieldFile& file, const FieldChoice& choice)
{
    const std::string problem = ChooseField(file, choice.field);
    if (!problem.empty() || choice.line.empty()) {
        return problem;
    }
    std::vector<FieldLine> all;
    for (const Field& field : file.fields) {
        all.insert(all.end(), field.lines.begin(), field.lines.end());
    }
    const std::size_t left = LeaveOne(file, &Field::lines, choice.line);
    for (Field& field : file.fields) {
        field.boundaries.clear();
    }
    if (left > 0) {
        return SeveralProblem(choice.line, left);
    }
    for (const RefusedLine& refused : file.refused) {
        const bool isInField = choice.field.empty() || refused.field == choice.field;
        const bool isWanted =
            refused.name == choice.line || std::to_string(refused.number) == choice.line;
        if (isInField && isWanted) {
            return "line " + Quoted(refused.name) + ": " + refused.reason;
        }
    }
    return "there is no line " + Quoted(choice.line) + "; there are: " + NamesOf(all);
}

std::string ChooseBoundaries(CFieldFile& file, const FieldChoice& choice)
{
    for (Field& field : file.fields) {
        field.lines.clear();
    }
    file.refused.clear();
    const std::string problem = ChooseField(file, choice.field);
    if (!problem.empty()) {
        return problem;
    }
    if (choice.line.empty()) {
        return file.BoundaryCount() > 0 ? "" : "there is no boundary in it";
    }
    std::vector<FieldBoundary> all;
    for (const Field& field : file.fields) {
        all.insert(all.end(), field.boundaries.begin(), field.boundaries.end());
    }
    const std::size_t left = LeaveOne(file, &Field::boundaries, choice.line);
    return left > 0
               ? SeveralProblem(choice.line, left)
               : "there is no boundary " + Quoted(choice.line) + "; there are: " + NamesOf(all);
}

WaylineList WaylinesOf(const CFieldFile& file, const std::optional<GeodeticPlace>& origin)
{
    WaylineList list;
    list.origin = origin;
    const std::optional<FieldPlace> first = file.FirstPlace();
    if (!list.origin && first) {
        list.origin = PlaceOf(*first, 0.0);
        list.isOriginChosen = true;
    }
    list.boundaries = file.BoundaryCount();
    if (!list.origin) {
        return list;
    }
    const CLocalFrame frame(*list.origin);
    for (const Field& field : file.fields) {
        for (const FieldLine& line : field.lines) {
            list.entries.push_back({line.number, ToWayline(line, frame), field.name});
        }
    }
    return list;
}

CFieldFile FieldsOf(const WaylineList& list, const GeodeticPlace& origin)
{
    const CLocalFrame frame(origin);
    CFieldFile file;
    Field& field = file.FieldOf("Field");
    for (const WaylineList::Entry& entry : list.entries) {
        field.lines.push_back(FromWayline(entry.content, frame));
    }
    return file;
}
