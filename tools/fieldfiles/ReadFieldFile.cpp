#include "tools/fieldfiles/ReadFieldFile.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "tools/fieldfiles/DatabaseJournals.h"
#include "tools/fieldfiles/FieldFormat.h"
#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/GeoJson.h"
#include "tools/fieldfiles/GeoPackage.h"
#include "tools/fieldfiles/IsoXmlReader.h"
#include "tools/fieldfiles/Kml.h"
#include "tools/fieldfiles/Shapefile.h"
#include "tools/fieldfiles/XmlFile.h"
#include "tools/fieldfiles/ZipArchive.h"

namespace {

using Kind = std::optional<Kestrove::EWaylineType>;

constexpr const char* kIsoXmlName = "taskdata.xml";

/// The path of a file in a folder by its name in any case; empty when it is missing.
std::string PathIn(const std::string& folder, const std::string& name)
{
    for (const std::string& there : NamesIn(folder)) {
        if (LowerCase(there) == LowerCase(name)) {
            return (std::filesystem::path(folder) / there).string();
        }
    }
    return {};
}

std::string FolderAround(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

template <typename Main> // the bytes of the main file, or what was parsed of them
CFieldFile ReadIsoXmlBeside(const Main& main, const std::string& folder)
{
    return ReadIsoXml(main, [&](const std::string& name) -> std::optional<std::string> {
        const std::string path = PathIn(folder, name);
        return path.empty() ? std::nullopt : std::optional(ReadFileBytes(path));
    });
}

CFieldFile ReadFolder(const std::string& folder)
{
    std::error_code error;
    const std::filesystem::directory_iterator readable(folder, error);
    if (error) {
        throw CFieldFileProblem("the folder cannot be read: " + error.message());
    }
    std::string main = PathIn(folder, kIsoXmlName);
    if (main.empty()) {
        const std::string inner = PathIn(folder, "taskdata");
        main = inner.empty() ? std::string() : PathIn(inner, kIsoXmlName);
    }
    if (main.empty()) {
        throw CUnsupportedFile("it is a directory without a TASKDATA.XML");
    }
    return ReadIsoXmlBeside(ReadFileBytes(main), FolderAround(main));
}

CFieldFile ReadXml(const std::string& bytes, const std::string& path, const Kind& kind)
{
    pugi::xml_document document;
    try {
        ParseXml(bytes, document);
    } catch (const CFieldFileProblem& problem) {
        throw CUnsupportedFile(problem.what());
    }
    const pugi::xml_node root = document.document_element();
    if (IsElement(root, "kml")) {
        return ReadKml(document, kind);
    }
    if (!IsElement(root, "ISO11783_TaskData") && !IsElement(root, "XFC")) {
        throw CUnsupportedFile("this XML is none that is read: its root is " +
                               LocalName(root).substr(0, 80));
    }
    if (path == "-") {
        return ReadIsoXml(document,
                          [](const std::string&) { return std::optional<std::string>(); });
    }
    return ReadIsoXmlBeside(document, FolderAround(path));
}

bool IsPartOfShapefile(const std::string& path)
{
    const std::string ending = SuffixOf(path);
    return ending == "shp" || ending == "shx" || ending == "dbf" || ending == "prj";
}

CFieldFile ReadShapefileBeside(const std::string& path, std::string bytes, const Kind& kind)
{
    if (path == "-") {
        throw CFieldFileProblem("a Shapefile is several files; name its .shp");
    }
    const std::string own = std::filesystem::path(path).filename().string();
    const std::string stem = WithoutSuffix(own);
    FileSet files;
    for (const std::string& there : NamesIn(FolderAround(path))) {
        if (LowerCase(WithoutSuffix(there)) == LowerCase(stem) && IsPartOfShapefile(there) &&
            there != own) {
            files[LowerCase(there)] =
                ReadFileBytes((std::filesystem::path(FolderAround(path)) / there).string());
        }
    }
    files[LowerCase(IsPartOfShapefile(own) ? own : stem + ".shp")] = std::move(bytes);
    return ReadShapefile(std::move(files), stem, kind);
}

CFieldFile ReadDatabase(const std::string& path, std::string bytes, const Kind& kind)
{
    CheckNobodyWrites(path, bytes);
    return ReadGeoPackage(std::move(bytes), kind);
}

/// Reads what stands in a zip.
class CZipReading
{
public:
    explicit CZipReading(const std::string& bytes) : m_zip(bytes) {}

    CFieldFile Read(const Kind& kind)
    {
        std::string main = Shallowest(
            [](const std::string& path) { return LowerCase(NameInFolder(path)) == kIsoXmlName; });
        if (!main.empty()) {
            return WithOthersNoted(ReadIso(main), {main});
        }
        main = Shallowest([](const std::string& path) { return SuffixOf(path) == "kml"; });
        if (!main.empty()) {
            return ReadKmlWithLinked(main, kind);
        }
        return ReadAllShapes(kind);
    }

private:
    /// Notes what else is in the zip that would be read without that which was.
    CFieldFile WithOthersNoted(CFieldFile file, const std::vector<std::string>& read) const
    {
        for (const std::string& path : m_zip.Paths()) {
            const std::string ending = SuffixOf(path);
            const bool isFile =
                ending == "kml" || ending == "shp" || LowerCase(NameInFolder(path)) == kIsoXmlName;
            if (isFile && std::find(read.begin(), read.end(), path) == read.end()) {
                file.Note(path.substr(0, 200) + " is left out: of a zip one file is read, here " +
                          read.front().substr(0, 200));
            }
        }
        return file;
    }

    /// Of several Shapefiles one that cannot be used is left out with the reason.
    CFieldFile ReadAllShapes(const Kind& kind)
    {
        CFieldFile file;
        std::string firstProblem;
        for (const std::string& path : m_zip.Paths()) {
            if (SuffixOf(path) != "shp") {
                continue;
            }
            try {
                file.Append(ReadShapes(path, kind));
            } catch (const CFieldFileTooLarge&) {
                throw;
            } catch (const CFieldFileProblem& problem) {
                file.Note(path.substr(0, 200) + " is left out: " + problem.what());
                firstProblem = firstProblem.empty() ? problem.what() : firstProblem;
            }
        }
        if (file.fields.empty() && file.refused.empty()) {
            if (!firstProblem.empty()) {
                throw CFieldFileProblem(firstProblem);
            }
            throw CUnsupportedFile("the zip has neither a TASKDATA.XML nor a .kml nor a .shp");
        }
        return file;
    }

    /// The path of the kind with the fewest folders around it; of those the first one, but one in
    /// the folder TASKDATA or of the name doc.kml before all others.
    template <typename IsWanted>
    std::string Shallowest(const IsWanted& isWanted) const
    {
        std::string best;
        std::ptrdiff_t fewest = -1;
        for (const std::string& path : m_zip.Paths()) {
            if (!isWanted(path)) {
                continue;
            }
            const std::string lower = LowerCase(path);
            if (lower == "taskdata/taskdata.xml" || lower == "doc.kml") {
                return path;
            }
            const std::ptrdiff_t folders = std::count(path.begin(), path.end(), '/');
            if (fewest < 0 || folders < fewest) {
                best = path;
                fewest = folders;
            }
        }
        return best;
    }

    /// The path of a file in a folder, by its name in any case; nothing when it is missing.
    std::optional<std::string> FoundIn(const std::string& folder, const std::string& name) const
    {
        for (const std::string& path : m_zip.Paths()) {
            if (FolderOf(path) == folder && LowerCase(NameInFolder(path)) == LowerCase(name)) {
                return path;
            }
        }
        return std::nullopt;
    }

    std::optional<std::string> UnpackIn(const std::string& folder, const std::string& name)
    {
        const std::optional<std::string> path = FoundIn(folder, name);
        return path ? std::optional(m_zip.Unpack(*path)) : std::nullopt;
    }

    CFieldFile ReadIso(const std::string& main)
    {
        return ReadIsoXml(m_zip.Unpack(main),
                          [&](const std::string& name) { return UnpackIn(FolderOf(main), name); });
    }

    /// Some programs write a layer into a file of its own, to which the main one links.
    CFieldFile ReadKmlWithLinked(const std::string& main, const Kind& kind)
    {
        std::vector<std::string> linked;
        CFieldFile file = ReadKml(m_zip.Unpack(main), kind, &linked);
        const std::string folder = FolderOf(main);
        std::vector<std::string> read{main};
        for (const std::string& name : std::set<std::string>(linked.begin(), linked.end())) {
            const std::string path = folder + name;
            const std::optional<std::string> found = FoundIn(FolderOf(path), NameInFolder(path));
            if (found) {
                file.Append(ReadKml(m_zip.Unpack(*found), kind));
                read.push_back(*found);
            } else {
                file.Note("the linked file " + name.substr(0, 80) + " is missing");
            }
        }
        return WithOthersNoted(std::move(file), read);
    }

    CFieldFile ReadShapes(const std::string& path, const Kind& kind)
    {
        const std::string stem = WithoutSuffix(NameInFolder(path));
        FileSet files;
        for (const char* ending : {"shp", "shx", "dbf", "prj"}) {
            const std::string name = stem + "." + ending;
            if (std::optional<std::string> bytes = UnpackIn(FolderOf(path), name)) {
                files[LowerCase(name)] = std::move(*bytes);
            }
        }
        return ReadShapefile(std::move(files), stem, kind);
    }

    CZipArchive m_zip;
};

CFieldFile ReadContent(const std::string& path, std::string bytes, const Kind& kind)
{
    constexpr std::size_t kBeginning = 512;
    const std::optional<EFieldFormat> format = FieldFormatOfContent(bytes.substr(0, kBeginning));
    if (!format) {
        throw CUnsupportedFile("its format is not known");
    }
    switch (*format) {
    case EFieldFormat::Kmz:
        return CZipReading(bytes).Read(kind);
    case EFieldFormat::GeoPackage:
        return ReadDatabase(path, std::move(bytes), kind);
    case EFieldFormat::GeoJson:
        return ReadGeoJson(bytes, kind);
    case EFieldFormat::Shapefile:
        return ReadShapefileBeside(path, std::move(bytes), kind);
    default:
        return ReadXml(bytes, path, kind);
    }
}

CFieldFile Checked(CFieldFile file)
{
    const bool isEmpty = file.LineCount() == 0 && file.BoundaryCount() == 0 && file.refused.empty();
    if (!isEmpty) {
        return file;
    }
    std::string reason = "there is neither a line nor a boundary in it";
    for (const std::string& note : file.Notes()) {
        reason += "; " + note;
    }
    throw CFieldFileProblem(reason);
}

} // namespace

CFieldFile ReadFieldFile(const std::string& path, std::string bytes, const Kind& kind)
{
    return Checked(ReadContent(path, std::move(bytes), kind));
}

CFieldFile ReadFieldFolder(const std::string& path)
{
    return Checked(ReadFolder(path));
}
