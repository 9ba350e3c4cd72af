#include "tools/navctl/feed/FeedOptions.h"

#include <map>

#include "platform/Utilities.h"
#include "tools/navctl/feed/NmeaFields.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

constexpr double kSlowestRate = 0.001;
constexpr double kFastestRate = 1e6;

bool EndsWith(const std::string& text, const std::string& ending)
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
        Core::Utilities::ParseInt(text.substr(8, 2), day) == 0)
        return std::nullopt;
    return DaysSince1970(year, month, day);
}

std::string CheckRate(const std::string& text)
{
    const std::optional<double> factor = FiniteNumber(text);
    if (text == "max" || (factor && *factor >= kSlowestRate && *factor <= kFastestRate))
        return {};
    return "\"" + text + "\" is neither a factor from 0.001 to 1000000 nor \"max\"";
}

void AddFormatOption(CLI::App& command, FeedOptions& options)
{
    static const std::map<std::string, EFeedFormat> kFormats{{"nmea", EFeedFormat::Nmea},
                                                             {"csv", EFeedFormat::Csv}};
    command
        .add_option_function<std::string>(
            "--format", [&options](const std::string& word) { options.format = kFormats.at(word); },
            "nmea or csv; otherwise told from the file's name or its beginning")
        ->check(CLI::IsMember(kFormats).description(""))
        ->type_name("WORD");
}

} // namespace

void AddFeedOptions(CLI::App& command, FeedOptions& options)
{
    command.add_option("FILE", options.file, "The file; - for standard input")->required();
    AddFormatOption(command, options);
    command
        .add_option_function<std::string>(
            "--origin",
            [&options](const std::string& text) {
                std::string problem;
                options.origin = ParsePlace(text, problem);
                if (!options.origin)
                    throw CLI::ValidationError("--origin", problem);
            },
            "Where x and y of a CSV file are 0: degrees, degrees, metres above the ellipsoid")
        ->type_name("LAT,LON,HEIGHT");
    command
        .add_option("--interval", options.interval,
                    "Seconds between the rows of a CSV file, in place of its time column; "
                    "0.001 to 3600")
        ->check(CLI::Range(0.001, 3600.0).description(""))
        ->type_name("SECONDS");
    command
        .add_option("--rate", options.rate,
                    "How many times as fast as the file's own time, 0.001 to 1000000, or max; 1 "
                    "unless given, but standard input is sent as it comes")
        ->check(CLI::Validator(CheckRate, ""))
        ->type_name("FACTOR");
    command
        .add_option_function<std::string>(
            "--date",
            [&options](const std::string& text) {
                options.day = ParseDay(text);
                if (!options.day)
                    throw CLI::ValidationError("--date", "\"" + text + "\" is no YYYY-MM-DD");
            },
            "Day (UTC) of the first NMEA sentence when no sentence tells it; today unless given")
        ->type_name("YYYY-MM-DD");
    command
        .add_option("--reconnect", options.secondsToReconnect,
                    "How long to try to reach a service that was lost, seconds, 0 to 86400")
        ->check(CLI::Range(0.0, 86400.0).description(""))
        ->type_name("SECONDS")
        ->capture_default_str();
}

std::optional<double> FeedRate(const FeedOptions& options)
{
    if (!options.rate)
        return options.file == "-" ? std::nullopt : std::optional(1.0);
    return FiniteNumber(*options.rate);
}

EFeedFormat FeedFormat(const FeedOptions& options, const std::string& firstBytes)
{
    if (options.format)
        return *options.format;
    if (EndsWith(options.file, ".csv"))
        return EFeedFormat::Csv;
    for (const char* ending : {".nmea", ".nma", ".ubx"}) {
        if (EndsWith(options.file, ending))
            return EFeedFormat::Nmea;
    }
    return firstBytes.find_first_of("$!") != std::string::npos ? EFeedFormat::Nmea
                                                               : EFeedFormat::Csv;
}
