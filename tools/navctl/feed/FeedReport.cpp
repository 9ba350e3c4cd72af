#include "tools/navctl/feed/FeedReport.h"

#include <algorithm>

namespace {

Json ReasonsJson(const CSkipCount& counts)
{
    Json reasons = Json::array();
    for (const auto& [reason, entry] : counts.Reasons()) {
        reasons.push_back(
            {{"reason", reason}, {"count", entry.count}, {"first_line", entry.firstLine}});
    }
    return reasons;
}

Json NotUsedJson(const CSkipCount& counts)
{
    Json types = Json::object();
    for (const auto& [type, entry] : counts.Reasons()) {
        types[type] = entry.count;
    }
    return types;
}

std::string Counted(std::uint64_t count, const std::string& what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// What is not used, in so many of its kind.
std::string NotUsedText(std::uint64_t count, const std::string& what)
{
    const bool isOneComment = count == 1 && what == "comments";
    return std::to_string(count) + " " + (isOneComment ? "comment" : what);
}

/// What was read, but is in no sample that was handed over: an end in between.
std::uint64_t ReadAhead(const FeedResult& result, const CSampleReader& reader)
{
    return reader.Counts().sources - result.sourcesSent - result.sourcesLost -
           reader.Skipped().Total() - reader.NotUsed().Total();
}

/// Where the lines have gone: the parts add up to the lines.
std::string LinesText(const FeedResult& result, const CSampleReader& reader)
{
    const ReadCounts read = reader.Counts();
    std::string text = "read " + Counted(read.lines, "line") + ": " +
                       std::to_string(result.sourcesSent) + " in samples sent";
    const auto add = [&text](std::uint64_t count, const char* what) {
        if (count > 0) {
            text += ", " + std::to_string(count) + " " + what;
        }
    };
    add(result.sourcesLost, "in samples lost");
    add(reader.Skipped().Total(), "skipped");
    add(reader.NotUsed().Total(), "not used");
    add(ReadAhead(result, reader), "read ahead");
    add(read.empty, "empty");
    if (read.further > 0) {
        text += "; " + std::to_string(read.further) + " of them behind another on one line";
    }
    return text;
}

/// What has come that is in no sample, and why; the reasons first.
std::string Found(const CSampleReader& reader)
{
    std::string found;
    const auto add = [&found](const std::string& what) {
        found += (found.empty() ? "" : ", ") + what;
    };
    for (const auto& [what, entry] : reader.Skipped().Reasons()) {
        add(what + " (" + std::to_string(entry.count) + ")");
    }
    for (const auto& [what, entry] : reader.NotUsed().Reasons()) {
        add(NotUsedText(entry.count, what));
    }
    if (reader.Counts().empty > 0) {
        add(Counted(reader.Counts().empty, "empty line"));
    }
    return found;
}

/// Whether nothing that has come looks like a whole sentence or a row.
bool IsAllNoise(const CSampleReader& reader)
{
    std::uint64_t noise = 0;
    for (const auto& [what, entry] : reader.Skipped().Reasons()) {
        const bool isNoise = what == "not a sentence" || what == "no checksum" ||
                             what == "cut checksum" || what == "line too long";
        noise += isNoise ? entry.count : 0;
    }
    return noise > 0 && noise == reader.Counts().sources;
}

/// Which values samples did not have, and how many samples; empty when they had all.
std::string NotToldText(const FeedResult& result)
{
    std::string untold;
    for (const auto& [name, count] : result.notTold) {
        std::string words = name;
        std::replace(words.begin(), words.end(), '_', ' ');
        untold += (untold.empty() ? "" : ", ") + words + " " + std::to_string(count);
    }
    return untold.empty() ? untold : "\nnot told, in so many samples: " + untold;
}

} // namespace

std::string NothingToSend(const CSampleReader& reader)
{
    std::string reason = "no sample that could be sent";
    if (!reader.Wants().empty()) {
        reason += "; it takes " + reader.Wants();
    }
    const std::string found = Found(reader);
    return reason + "; found: " + (found.empty() ? "nothing" : found);
}

std::string FoundSoFar(const CSampleReader& reader, std::uint64_t bytes)
{
    const std::string found = Found(reader);
    if (found.empty() && reader.Counts().sources == 0) {
        return bytes == 0 ? "no data has come"
                          : Counted(bytes, "byte") + " without the end of a line";
    }
    if (!IsAllNoise(reader)) {
        return found;
    }
    return found + "; is that a receiver, and is the speed of its line set right (baud)?";
}

Json FeedJson(const FeedResult& result, const CSampleReader& reader, EExitCode code,
              const std::string& reason)
{
    Json value{{"outcome", code == kExitDone ? "sent" : "failed"}};
    if (code != kExitDone) {
        value["exit_code"] = static_cast<int>(code);
        value["reason"] = reason;
    }
    value.update(FeedCounts(result, reader));
    return value;
}

Json FeedCounts(const FeedResult& result, const CSampleReader& reader)
{
    Json value = Json::object();
    value["sent"] = result.sent;
    value["lost"] = result.lost;
    value["not_valid"] = result.notValid;
    value["refused"] = {{"looks", result.refusedLooks}, {"of", result.looks}};
    if (result.refusedLooks > 0) {
        value["refused"]["reason"] = result.refusal;
    }
    value["not_told"] = result.notTold;
    value["date_guessed"] = reader.DayWasGuessed();
    value["interrupted"] = result.end == EFeedEnd::Interrupted;
    value["reconnections"] = result.reconnections;
    value["skipped"] = reader.Skipped().Total();
    value["skipped_reasons"] = ReasonsJson(reader.Skipped());
    value["not_used"] = NotUsedJson(reader.NotUsed());
    value["columns_not_used"] = reader.UnusedColumns();
    const ReadCounts read = reader.Counts();
    value["lines"] = {{"read", read.lines},
                      {"in_samples_sent", result.sourcesSent},
                      {"in_samples_lost", result.sourcesLost},
                      {"skipped", reader.Skipped().Total()},
                      {"not_used", reader.NotUsed().Total()},
                      {"read_ahead", ReadAhead(result, reader)},
                      {"empty", read.empty},
                      {"further_on_a_line", read.further}};
    return value;
}

std::string FeedText(const FeedResult& result, const CSampleReader& reader)
{
    std::string text = "sent " + Counted(result.sent, "sample");
    if (result.lost > 0) {
        text += ", lost " + std::to_string(result.lost) + " that the service has perhaps not read";
    }
    if (result.notValid > 0) {
        text += ", " + std::to_string(result.notValid) + " of them without a valid position";
    }
    if (result.end == EFeedEnd::Interrupted) {
        text += ", then interrupted";
    }
    text += "\n" + LinesText(result, reader);
    if (result.refusedLooks > 0) {
        text += "\nthe service refused the last sample at " + std::to_string(result.refusedLooks) +
                " of " + Counted(result.looks, "look") + ", the last time because " +
                result.refusal;
    }
    text += NotToldText(result);
    if (reader.DayWasGuessed()) {
        text += "\nthe day was guessed: no sentence told it in time";
    }
    if (result.reconnections > 0) {
        text += "\nlost the link and found it again " + Counted(result.reconnections, "time");
    }
    for (const auto& [reason, entry] : reader.Skipped().Reasons()) {
        text += "\nskipped " + std::to_string(entry.count) + ": " + reason + " (first in line " +
                std::to_string(entry.firstLine) + ")";
    }
    if (!reader.Advice().empty()) {
        text += "\n" + reader.Advice();
    }
    std::string types;
    for (const auto& [type, entry] : reader.NotUsed().Reasons()) {
        types += (types.empty() ? "" : ", ") + NotUsedText(entry.count, type);
    }
    if (!types.empty()) {
        text += "\nnot used: " + types;
    }
    return text;
}
