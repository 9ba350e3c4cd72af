#include "tools/navctl/fields/FieldTarget.h"

#include <filesystem>

#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/GeoJson.h"
#include "tools/navctl/files/OpenFile.h"

namespace {

std::string Counted(std::size_t count, const char* one, const char* several)
{
    return std::to_string(count) + " " + (count == 1 ? one : several);
}

void WriteToFiles(CContext& context, const FilesToWrite& files)
{
    for (const auto& [path, bytes] : files) {
        const std::filesystem::path folder = std::filesystem::path(path).parent_path();
        std::error_code error;
        if (!folder.empty() && LowerCase(folder.filename().string()) == "taskdata") {
            std::filesystem::create_directories(folder, error);
        }
        if (error) {
            return context.Fail(kExitCannotWrite,
                                "cannot make " + folder.string() + ": " + error.message());
        }
        const std::string problem = WriteWholeFile(path, bytes);
        if (!problem.empty()) {
            return context.Fail(kExitCannotWrite, problem);
        }
    }
}

void ReportWritten(CContext& context, const FilesToWrite& files, const FieldTarget& target,
                   std::size_t lines, std::size_t boundaries)
{
    Json paths = Json::array();
    for (const auto& written : files) {
        paths.push_back(written.first);
    }
    const bool isShapefile = target.format == EFieldFormat::Shapefile;
    const bool hasLines = !isShapefile || target.shapes == EShapes::Lines;
    const bool hasAreas = !isShapefile || target.shapes == EShapes::Areas;
    context.Print({{"outcome", "done"},
                   {"file", files.front().first},
                   {"files", paths},
                   {"lines", hasLines ? lines : 0},
                   {"boundaries", hasAreas ? boundaries : 0}},
                  (hasLines ? Counted(lines, "wayline", "waylines") : std::string()) +
                      (hasLines && hasAreas ? " and " : "") +
                      (hasAreas ? Counted(boundaries, "boundary", "boundaries") : std::string()) +
                      " written to " + target.path);
}

} // namespace

void WriteFields(CContext& context, CFieldFile file, const FieldTarget& target)
{
    const std::size_t lines = file.LineCount();
    const std::size_t boundaries = file.BoundaryCount();
    const std::size_t notesBefore = file.Notes().size();
    FilesToWrite files;
    try {
        files = FieldFilesToWrite(file, target.format, target.path, target.shapes);
    } catch (const CFieldFileProblem& problem) {
        return context.Fail(kExitUsage, problem.what());
    }
    for (std::size_t i = notesBefore; i < file.Notes().size(); ++i) {
        WriteError(file.Notes()[i]);
    }
    if (target.path == "-") {
        if (context.WritesJson() && target.format == EFieldFormat::GeoJson) {
            return context.Output().Write(WriteGeoJson(file, true));
        }
        if (context.WritesJson()) {
            return context.Fail(kExitUsage,
                                "with --json such a file is not written to the standard "
                                "output; name a file");
        }
        return context.Output().Write(files.front().second);
    }
    WriteToFiles(context, files);
    if (context.ExitCode() == kExitDone) {
        ReportWritten(context, files, target, lines, boundaries);
    }
}
