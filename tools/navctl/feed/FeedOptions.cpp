#include "tools/navctl/feed/FeedOptions.h"

#include <algorithm>

#include "platform/Utilities.h"
#include "tools/navctl/Suggestion.h"
#include "tools/navctl/UsageProblem.h"
#include "tools/navctl/feed/FileEncoding.h"
#include "tools/navctl/feed/NmeaFields.h"
#include "tools/navctl/feed/NmeaSentence.h"
#include "tools/navctl/feed/NmeaValues.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

constexpr double kSlowestRate = 0.001;
constexpr double kFastestRate = 1e6;

bool NameEndsWith(const std::string& text, const std::string& ending)
{
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

/// "YYYY-MM-DD" in days since 1970-01-01.
std::optional<std::int64_t> ParseDay(const std::string& text)
{
    int year = 0;
    int month = 0;
    int day = 0;
    if (text.size() != 10 || text[4] != '-' || text[7] != '-' ||
        Core::Utilities::ParseInt(text.substr(0, 4), year) == 0 ||
        Core::Utilities::ParseInt(text.substr(5, 2), month) == 0 ||
        Core::Utilities::ParseInt(text.substr(8, 2), day) == 0) {
        return std::nullopt;
    }
    return DaysSince1970(year, month, day);
}

std::string CheckRate(const std::string& text)
{
    const std::optional<double> factor = FiniteNumber(text);
    if (text == "max" || (factor && *factor >= kSlowestRate && *factor <= kFastestRate)) {
        return {};
    }
    return "\"" + text + "\" is neither a factor from 0.001 to 1000000 nor \"max\"" +
           Suggestion(text, {"max"});
}

/// What a beginning of a file says: its lines, but for empty ones and remarks.
struct Beginning
{
    explicit Beginning(const std::string& text)
    {
        std::size_t begin = text.find_first_not_of("\r\n");
        while (begin != std::string::npos) {
            const std::size_t end = text.find_first_of("\r\n", begin);
            const bool isRemark = text[begin] == '#';
            if (end == std::string::npos) {
                part = isRemark ? std::string() : text.substr(begin);
                return;
            }
            if (!isRemark) {
                lines.push_back(text.substr(begin, end - begin));
            }
            begin = text.find_first_not_of("\r\n", end);
        }
    }

    std::vector<std::string> lines; ///< those that have come whole
    std::string part;               ///< of the last one, when it has not
};

/// The whole sentences of a beginning, by type: "12 GGA, 12 RMC".
std::string SentencesIn(const std::string& firstBytes)
{
    constexpr std::size_t kMostTypes = 10;
    std::map<std::string, std::size_t> types;
    NmeaSentence sentence;
    for (const std::string& line : Beginning(firstBytes).lines) {
        ForEachSentence(line, [&](std::string_view text) {
            if (ReadSentence(text, sentence) == nullptr) {
                ++types[std::string(sentence.type)];
            }
        });
    }
    std::string found;
    std::size_t named = 0;
    for (const auto& [type, count] : types) {
        if (++named <= kMostTypes) {
            found += (found.empty() ? "" : ", ") + std::to_string(count) + " " + type;
        }
    }
    return found + (named > kMostTypes ? " and others" : "");
}

/// Whether a line names columns of places.
bool NamesColumns(std::string line)
{
    // Perhaps with a byte order mark in front.
    if (line.rfind("\xEF\xBB\xBF", 0) == 0) {
        line.erase(0, 3);
    }
    std::vector<std::string> names;
    if (!SplitCsvLine(line, names)) {
        return false;
    }
    CCsvHeader header(names);
    return header.Find({"latitude", "lat", "longitude", "lon", "lng", "x", "y"}).has_value();
}

/// Whether a type may show where a burst begins.
CLI::Validator BeginningOfABurst()
{
    const std::string list = NameOf(ENmeaType::Gsa);
    std::vector<std::string> names = NmeaTypeNames();
    names.erase(std::remove(names.begin(), names.end(), list), names.end());
    const CLI::Validator isAmong = WordAmong(names);
    return CLI::Validator(
        [list, isAmong](const std::string& name) {
            return name == list ? list + " does not tell where a burst begins, as a burst may have "
                                         "several, here and there"
                                : isAmong(name);
        },
        "");
}

void AddNmeaOptions(CLI::App& command, FeedOptions& options)
{
    command
        .add_option_function<std::string>(
            "--burst-begins-with",
            [&options](const std::string& name) { options.burstBeginsWith = TypeByName(name); },
            "Type of the NMEA sentence that the receiver begins each burst with, such as HDT; "
            "otherwise learned where that is possible")
        ->check(BeginningOfABurst())
        ->type_name("TYPE");
    command.add_flag("--invert-roll", options.signs.invertRoll,
                     "In PASHR, a positive roll is port side down");
    command.add_flag("--invert-pitch", options.signs.invertPitch,
                     "In PASHR, a positive pitch is bow down");
}

void AddFeedFormatOption(CLI::App& command, FeedOptions& options)
{
    command
        .add_option_function<std::string>(
            "--format",
            [&options](const std::string& word) { options.format = FeedFormatNames().at(word); },
            "nmea or csv; otherwise told from the file's name or its beginning")
        ->check(WordAmong(WordsOf(FeedFormatNames())))
        ->type_name("WORD");
}

void AddDateOption(CLI::App& command, FeedOptions& options)
{
    command
        .add_option_function<std::string>(
            "--date",
            [&options](const std::string& text) {
                options.day = ParseDay(text);
                if (!options.day) {
                    throw CLI::ValidationError("--date", "\"" + text + "\" is no YYYY-MM-DD");
                }
            },
            "Day (UTC) of the first NMEA sentence when no sentence tells it; today unless given")
        ->type_name("YYYY-MM-DD");
}

/// An option that is for files of one format alone.
struct FormatOption
{
    const char* name;
    EFeedFormat format;
};

/// Those of them that are given.
std::vector<FormatOption> OptionsOfOneFormat(const FeedOptions& options)
{
    std::vector<FormatOption> given;
    const auto add = [&given](const char* name, bool isGiven, EFeedFormat format) {
        if (isGiven) {
            given.push_back({name, format});
        }
    };
    add("--burst-begins-with", options.burstBeginsWith.has_value(), EFeedFormat::Nmea);
    add("--invert-roll", options.signs.invertRoll, EFeedFormat::Nmea);
    add("--invert-pitch", options.signs.invertPitch, EFeedFormat::Nmea);
    add("--date", options.day.has_value(), EFeedFormat::Nmea);
    add("--origin", options.origin.has_value(), EFeedFormat::Csv);
    add("--interval", options.interval.has_value(), EFeedFormat::Csv);
    return given;
}

} // namespace

void AddFeedOptions(CLI::App& command, FeedOptions& options)
{
    command.add_option("FILE", options.file, "The file; - for standard input")->required();
    AddFeedFormatOption(command, options);
    AddNmeaOptions(command, options);
    command
        .add_option_function<std::string>(
            "--origin",
            [&options](const std::string& text) {
                std::string problem;
                options.origin = ParsePlace(text, problem);
                if (!options.origin) {
                    throw CLI::ValidationError("--origin", problem);
                }
            },
            "Where x and y of a CSV file are 0: degrees, degrees, metres above the ellipsoid")
        ->type_name("LAT,LON,HEIGHT");
    command
        .add_option("--interval", options.interval,
                    "Seconds between the rows of a CSV file, in place of its time column; "
                    "0.001 to 3600")
        ->check(NumberWithin(0.001, 3600.0, "0.001 to 3600"))
        ->type_name("SECONDS");
    command
        .add_option("--rate", options.rate,
                    "How many times as fast as the file's own time, 0.001 to 1000000, or max; 1 "
                    "unless given, but standard input is sent as it comes")
        ->check(CLI::Validator(CheckRate, ""))
        ->type_name("FACTOR");
    AddDateOption(command, options);
    command
        .add_option("--reconnect", options.secondsToReconnect,
                    "How long to try to reach a service that was lost, seconds, 0 to 86400")
        ->check(NumberWithin(0.0, 86400.0, "0 to 86400"))
        ->type_name("SECONDS")
        ->capture_default_str();
}

std::optional<double> FeedRate(const FeedOptions& options)
{
    if (!options.rate) {
        return options.file == "-" ? std::nullopt : std::optional(1.0);
    }
    return FiniteNumber(*options.rate);
}

const std::map<std::string, EFeedFormat>& FeedFormatNames()
{
    static const std::map<std::string, EFeedFormat> kNames{{"nmea", EFeedFormat::Nmea},
                                                           {"csv", EFeedFormat::Csv}};
    return kNames;
}

std::optional<EFeedFormat> FeedFormatByName(const FeedOptions& options)
{
    if (options.format) {
        return *options.format;
    }
    if (NameEndsWith(options.file, ".csv")) {
        return EFeedFormat::Csv;
    }
    for (const char* ending : {".nmea", ".nma", ".ubx"}) {
        if (NameEndsWith(options.file, ending)) {
            return EFeedFormat::Nmea;
        }
    }
    return std::nullopt;
}

std::optional<EFeedFormat> FeedFormatByContent(const std::string& firstBytes)
{
    Beginning beginning(firstBytes);
    if (!beginning.lines.empty() && NamesColumns(beginning.lines.front())) {
        return EFeedFormat::Csv;
    }
    beginning.lines.push_back(beginning.part);
    for (const std::string& line : beginning.lines) {
        if (line.find_first_of("$!") != std::string::npos) {
            return EFeedFormat::Nmea;
        }
    }
    return std::nullopt;
}

std::optional<EFeedFormat> FeedFormatByOptions(const FeedOptions& options)
{
    const std::vector<FormatOption> given = OptionsOfOneFormat(options);
    return given.empty() ? std::nullopt : std::optional(given.front().format);
}

std::string OptionOfOtherFormat(const FeedOptions& options, EFeedFormat format)
{
    const auto words = [](EFeedFormat which) {
        return which == EFeedFormat::Nmea ? "NMEA sentences" : "comma-separated values";
    };
    for (const FormatOption& option : OptionsOfOneFormat(options)) {
        if (option.format != format) {
            return std::string(option.name) + " is for " + words(option.format) + "; " +
                   options.file + " is read as " + words(format);
        }
    }
    return {};
}

std::string TakenInsteadOfColumns(const std::string& firstBytes)
{
    const std::string encoding = ForeignEncoding(firstBytes);
    if (!encoding.empty()) {
        return encoding;
    }
    const std::string found = SentencesIn(firstBytes);
    return "a feed takes comma-separated values whose first line names the columns time (or "
           "--interval), latitude and longitude (or x and y with --origin), or NMEA sentences: "
           "GGA, "
           "GNS, RMC or GLL with a time and a position; " +
           (found.empty() ? "there is no whole sentence at its beginning"
                          : "it begins with sentences, " + found + ": --format nmea reads them");
}

std::string TakenInsteadOfSentences(const std::string& firstBytes)
{
    const std::string encoding = ForeignEncoding(firstBytes);
    if (!encoding.empty()) {
        return encoding;
    }
    if (FeedFormatByContent(firstBytes) == EFeedFormat::Csv) {
        return "its first line names columns: --format csv reads it";
    }
    if (!SentencesIn(firstBytes).empty()) {
        return {};
    }
    return "of comma-separated values, the first line must name the columns time, latitude and "
           "longitude (--format csv)";
}

std::size_t LinesThatSay(const std::string& firstBytes)
{
    return Beginning(firstBytes).lines.size();
}
