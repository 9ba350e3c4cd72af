#include "tools/navctl/feed/FeedReport.h"

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
    for (const auto& [type, entry] : counts.Reasons())
        types[type] = entry.count;
    return types;
}

std::string Counted(std::uint64_t count, const std::string& what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

} // namespace

Json FeedJson(const FeedResult& result, const CSampleReader& reader, EExitCode code,
              const std::string& reason)
{
    Json value{{"outcome", code == kExitDone ? "sent" : "failed"}};
    if (code != kExitDone) {
        value["exit_code"] = static_cast<int>(code);
        value["reason"] = reason;
    }
    value["sent"] = result.sent;
    value["not_valid"] = result.notValid;
    value["interrupted"] = result.end == EFeedEnd::Interrupted;
    value["reconnections"] = result.reconnections;
    value["skipped"] = reader.Skipped().Total();
    value["skipped_reasons"] = ReasonsJson(reader.Skipped());
    value["not_used"] = NotUsedJson(reader.NotUsed());
    value["columns_not_used"] = reader.UnusedColumns();
    return value;
}

std::string FeedText(const FeedResult& result, const CSampleReader& reader)
{
    std::string text = "sent " + Counted(result.sent, "sample");
    if (result.notValid > 0)
        text += ", " + std::to_string(result.notValid) + " of them without a valid position";
    if (result.end == EFeedEnd::Interrupted)
        text += ", then interrupted";
    if (result.reconnections > 0)
        text += "\nlost the link and found it again " + Counted(result.reconnections, "time");
    for (const auto& [reason, entry] : reader.Skipped().Reasons()) {
        text += "\nskipped " + std::to_string(entry.count) + ": " + reason + " (first in line " +
                std::to_string(entry.firstLine) + ")";
    }
    std::string types;
    for (const auto& [type, entry] : reader.NotUsed().Reasons())
        types += (types.empty() ? "" : ", ") + std::to_string(entry.count) + " " + type;
    if (!types.empty())
        text += "\nnot used: " + types;
    return text;
}
