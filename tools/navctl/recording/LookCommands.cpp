#include <limits>
#include <map>
#include <memory>
#include <utility>

#include "tools/navctl/UsageProblem.h"
#include "tools/navctl/recording/Recording.h"
#include "tools/navctl/recording/RecordingCommand.h"
#include "tools/navctl/recording/ValueComparison.h"

namespace {

constexpr std::uint64_t kMostDifferences = 100; // that are listed one by one
constexpr std::size_t kBytesAtOnce = 65536;     // of what is written while it is read

struct CLookOptions
{
    std::string file;
    std::string other;
    std::uint64_t number = 0;
    double tolerance = 0.0;
    CItemFilter filter;
};

/// What info has found.
struct CFindings
{
    std::map<std::uint16_t, std::uint64_t> messages; ///< a channel
    std::map<std::uint16_t, std::uint64_t> bytes;
    std::uint64_t count = 0;
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    CMcapMetadata origin;
};

CFindings Find(CRecording& recording)
{
    CFindings findings;
    while (recording.NextRecord() == EMcapStep::Record) {
        const CMcapReader& reader = recording.Reader();
        if (reader.Kind() == EMcapRecord::Message) {
            const CMcapMessage& message = reader.Message();
            findings.first =
                findings.count == 0 ? message.logTime : std::min(findings.first, message.logTime);
            findings.last = std::max(findings.last, message.logTime);
            ++findings.count;
            ++findings.messages[message.channelId];
            findings.bytes[message.channelId] += message.data.size();
        } else if (reader.Kind() == EMcapRecord::Metadata) {
            CMcapMetadata metadata;
            if (ReadContent(reader.Content(), metadata) &&
                metadata.name == LinkForm::kMetadataName) {
                findings.origin = metadata;
            }
        }
    }
    return findings;
}

void Info(CContext& context, const CLookOptions& options)
{
    CRecording recording(options.file);
    CFindings findings = Find(recording);
    if (!FinishReading(context, recording)) {
        return;
    }
    const bool isWhole = recording.Remark().empty();
    const double seconds = static_cast<double>(findings.last - findings.first) / 1e9;
    Json json{{"file", options.file},     {"bytes", recording.Reader().Position()},
              {"whole", isWhole},         {"library", recording.Reader().Library()},
              {"origin", Json::object()}, {"messages", findings.count},
              {"seconds", seconds},       {"chunks", recording.Reader().Chunks()},
              {"channels", Json::array()}};
    std::string text = options.file + ": " + std::to_string(findings.count) + " messages in " +
                       std::to_string(seconds) + " s, " + (isWhole ? "whole" : "not whole");
    for (const auto& [key, value] : findings.origin.entries) {
        json["origin"][key] = value;
        text += "\n  " + key + ": " + Printable(value);
    }
    if (findings.count > 0) {
        json["first"] = TimeText(findings.first);
        json["last"] = TimeText(findings.last);
        text += "\n  from " + TimeText(findings.first) + " to " + TimeText(findings.last);
    }
    for (const auto& [id, channel] : recording.Reader().Channels()) {
        json["channels"].push_back({{"topic", channel.topic},
                                    {"messages", findings.messages[id]},
                                    {"bytes", findings.bytes[id]}});
        text += "\n  " + Printable(channel.topic) + ": " + std::to_string(findings.messages[id]) +
                " messages, " + std::to_string(findings.bytes[id]) + " bytes";
    }
    context.Print(json, text);
}

/// Gives every message that is wanted to `take`, until that returns false.
///
/// @return what is wrong with the span of time or with the recording, of which all that comes
/// before has been given; empty where nothing is.
template <typename Take>
std::string ForEach(const std::string& file, const CItemFilter& filter, Take take)
{
    CTimeSpan span(filter.from, filter.to);
    if (!span.Problem().empty()) {
        return span.Problem();
    }
    CRecording recording(file);
    const auto isWithin = [&](const CRecordedItem& item) {
        return span.Has(item.time, recording.Link().Start());
    };
    recording.Link().ReadValuesOf(
        [&](const CRecordedItem& head) { return isWithin(head) && MayPass(head, filter); });
    CRecordedItem item;
    while (recording.NextItem(item) == EMcapStep::Record) {
        if (isWithin(item) && Passes(item, filter) && !take(item)) {
            return {};
        }
    }
    recording.ClearProgress();
    if (recording.Problem().empty() && !recording.Remark().empty()) {
        WriteError(recording.Remark());
    }
    return recording.Problem();
}

/// The end of a result that has been written in pieces: one JSON value, also of a file that was bad
/// somewhere.
///
/// @param end what closes the pieces: "]".
void FinishPieces(CContext& context, const std::string& pieces, const std::string& end,
                  const std::string& problem)
{
    std::string last = context.WritesJson() ? end : "";
    if (!problem.empty()) {
        WriteError(problem);
        const Json failure{{"outcome", "failed"},
                           {"exit_code", static_cast<int>(kExitUsage)},
                           {"reason", problem}};
        last += context.WritesJson()
                    ? "," + failure.dump(-1, ' ', false, Json::error_handler_t::replace).substr(1)
                    : "";
        context.Finish(kExitUsage);
    } else {
        last += context.WritesJson() ? "}" : "";
    }
    context.Output().Write(pieces + last + (context.WritesJson() ? "\n" : ""));
}

void List(CContext& context, const CLookOptions& options)
{
    // Written as it is read: a recording may be longer than memory.
    std::string pieces = context.WritesJson() ? "{\"items\":[" : "";
    const char* between = "";
    const std::string problem = ForEach(options.file, options.filter, [&](CRecordedItem& item) {
        const Json json = context.WritesJson() ? ItemJson(item) : Json();
        pieces += context.WritesJson()
                      ? between + json.dump(-1, ' ', false, Json::error_handler_t::replace)
                      : Printable(ItemText(item)) + "\n";
        between = ",";
        if (pieces.size() > kBytesAtOnce) {
            context.Output().Write(pieces);
            pieces.clear();
        }
        return !context.Output().HasFailed();
    });
    FinishPieces(context, pieces, "]", problem);
}

void Show(CContext& context, const CLookOptions& options)
{
    CRecordedItem found;
    CItemFilter filter;
    filter.number = options.number;
    const std::string problem = ForEach(options.file, filter, [&](CRecordedItem& item) {
        found = std::move(item);
        return false;
    });
    if (!problem.empty()) {
        return context.Fail(kExitUsage, problem);
    }
    if (found.number == 0) {
        return context.Fail(kExitUsage,
                            options.file + " has no message " + std::to_string(options.number));
    }
    Json json = ItemJson(found);
    json["bytes"] = found.bytes.size();
    context.Print(json, Printable(ItemText(found)) + "\n" +
                            found.value.dump(2, ' ', false, Json::error_handler_t::replace));
}

/// A text as a field of comma-separated values.
std::string CsvField(const std::string& text)
{
    std::string field = "\"";
    for (const char character : text) {
        field += character;
        field += character == '"' ? "\"" : "";
    }
    return field + "\"";
}

/// Rows as they are written; in JSON, a piece of a text.
std::string TakeRows(const CContext& context, std::string& rows)
{
    std::string piece = std::exchange(rows, {});
    if (context.WritesJson()) {
        piece = Json(piece).dump(-1, ' ', false, Json::error_handler_t::replace);
        piece = piece.substr(1, piece.size() - 2);
    }
    return piece;
}

void ToCsv(CContext& context, const CLookOptions& options)
{
    std::string rows = "number,time,client,kind,name,request,error,value\n";
    std::string start = context.WritesJson() ? "{\"content\":\"" : "";
    const std::string problem = ForEach(options.file, options.filter, [&](CRecordedItem& item) {
        const std::string value = item.value.dump(-1, ' ', false, Json::error_handler_t::replace);
        rows += std::to_string(item.number) + "," + TimeText(item.time) + "," +
                std::to_string(item.client) + "," + NameOf(item.kind) + "," +
                CsvField(InOneLine(item.name)) + "," + std::to_string(item.request) + "," +
                (item.isError ? "1," : "0,") + CsvField(Printable(value)) + "\n";
        if (rows.size() > kBytesAtOnce) {
            context.Output().Write(std::exchange(start, {}) + TakeRows(context, rows));
        }
        return !context.Output().HasFailed();
    });
    FinishPieces(context, start + TakeRows(context, rows), "\"", problem);
}

/// The next message of a recording that is part of a comparison: times and numbers of messages are
/// not, nor is what became of connections.
bool NextCompared(CRecording& recording, CRecordedItem& item)
{
    while (recording.NextItem(item) == EMcapStep::Record) {
        if (item.kind != ERecorded::State) {
            return true;
        }
    }
    return false;
}

/// Compares two recordings message by message.
class CDiff
{
public:
    CDiff(CContext& context, const CLookOptions& options)
        : m_context(context), m_options(options), m_first(options.file), m_second(options.other)
    {
    }

    void Run()
    {
        bool hasFirst = NextCompared(m_first, m_a);
        bool hasSecond = NextCompared(m_second, m_b);
        while (hasFirst && hasSecond) {
            Compare();
            hasFirst = NextCompared(m_first, m_a);
            hasSecond = NextCompared(m_second, m_b);
        }
        for (; hasFirst; hasFirst = NextCompared(m_first, m_a)) {
            Tell(m_a.number, 0, "is only in the first: " + ItemText(m_a));
        }
        for (; hasSecond; hasSecond = NextCompared(m_second, m_b)) {
            Tell(0, m_b.number, "is only in the second: " + ItemText(m_b));
        }
        if (FinishReading(m_context, m_first) && FinishReading(m_context, m_second)) {
            Report();
        }
    }

private:
    void Compare()
    {
        std::string difference;
        if (m_a.kind != m_b.kind || m_a.name != m_b.name || m_a.isError != m_b.isError) {
            difference = std::string(NameOf(m_b.kind)) + " " + m_b.name + " in place of " +
                         NameOf(m_a.kind) + " " + m_a.name;
        } else {
            difference = DifferenceOf(m_a.value, m_b.value, m_options.tolerance);
            difference = difference.empty() ? "" : m_a.name + " " + difference;
        }
        if (difference.empty()) {
            ++m_identical;
        } else {
            Tell(m_a.number, m_b.number, difference);
        }
    }

    void Tell(std::uint64_t first, std::uint64_t second, const std::string& difference)
    {
        if (++m_different > kMostDifferences) {
            return;
        }
        m_told.push_back({{"first", first}, {"second", second}, {"difference", difference}});
        m_text += std::to_string(first) + " | " + std::to_string(second) + "  " +
                  Printable(difference) + "\n";
    }

    void Report()
    {
        const Json json{
            {"identical", m_identical}, {"different", m_different}, {"differences", m_told}};
        if (m_different > kMostDifferences) {
            m_text += "...\n";
        }
        m_context.Print(json, m_text + std::to_string(m_identical) + " messages are identical, " +
                                  std::to_string(m_different) + " differ");
        m_context.Finish(m_different == 0 ? kExitDone : kExitRefused);
    }

    CContext& m_context;
    const CLookOptions& m_options;
    CRecording m_first;
    CRecording m_second;
    CRecordedItem m_a;
    CRecordedItem m_b;
    std::uint64_t m_identical = 0;
    std::uint64_t m_different = 0;
    Json m_told = Json::array();
    std::string m_text;
};

void AddFilter(CLI::App& command, CItemFilter& filter)
{
    command.add_option("--operation,--event", filter.operation, "Of that operation or event alone")
        ->type_name("NAME");
    command.add_option("--text", filter.text, "That have the text in them")->type_name("TEXT");
    command.add_option("--from", filter.from, "From then on: seconds since the start, or a time")
        ->type_name("TIME");
    command.add_option("--to", filter.to, "Up to then")->type_name("TIME");
    command.add_option("--client", filter.client, "Of that client alone")
        ->check(WholeNumberWithin(1, std::numeric_limits<int>::max()))
        ->type_name("N");
}

} // namespace

void AddLookCommands(CLI::App& group, CContext& context)
{
    const auto options = std::make_shared<CLookOptions>();
    CLI::App* const info = group.add_subcommand("info", "Tells what is in a recording");
    CLI::App* const list = group.add_subcommand("list", "Lists the messages of a recording");
    CLI::App* const show = group.add_subcommand("show", "Shows a message of a recording");
    CLI::App* const diff =
        group.add_subcommand("diff", "Compares the messages of two recordings; 1 if they differ");
    CLI::App* const csv =
        group.add_subcommand("to-csv", "Writes the messages as comma-separated values");
    for (CLI::App* const command : {info, list, show, diff, csv}) {
        command->add_option("FILE", options->file, "The recording")->required();
    }
    AddFilter(*list, options->filter);
    AddFilter(*csv, options->filter);
    show->add_option("N", options->number, "The number of the message, as list has it")
        ->check(WholeNumberWithin(1, std::numeric_limits<int>::max()))
        ->required();
    diff->add_option("OTHER", options->other, "The recording to compare with")->required();
    diff->add_option("--tolerance", options->tolerance, "By how much numbers may differ")
        ->check(NumberWithin(0.0, 1e9, "0 to 1e9"))
        ->type_name("NUMBER");
    info->callback([&context, options] { Info(context, *options); });
    list->callback([&context, options] { List(context, *options); });
    show->callback([&context, options] { Show(context, *options); });
    diff->callback([&context, options] { CDiff(context, *options).Run(); });
    csv->callback([&context, options] { ToCsv(context, *options); });
}
