#include "tools/navctl/recording/Recording.h"

#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "recording/reading/Chunks.h"
#include "tools/navctl/recording/ValueComparison.h"

namespace {

/// Below, a recording is read before anybody wonders.
constexpr std::uint64_t kLongFile = 50'000'000;
constexpr unsigned kRecordsBetweenLooks = 1000;
constexpr double kNanoseconds = 1e9;

double SecondsNow()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

/// Whether a time names a moment, in place of seconds since the start.
bool IsMoment(const std::string& text)
{
    return text.find('T') != std::string::npos;
}

/// Whether a text can stand in a message's text only where its bytes, or its name, have it as it
/// is: it needs no escaping, and a letter of it is in no number, null, true, false or byte string.
bool StandsInBytes(const std::string& text)
{
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_"
                                        "0123456789";
    constexpr std::string_view kInOthers = "abcdefilnprstuyE0123456789";
    return text.find_first_not_of(kPlain) == std::string::npos &&
           text.find_first_not_of(kInOthers) != std::string::npos;
}

/// A time: 2026-11-22T10:15:30[.123][Z], or seconds since the start.
std::optional<std::uint64_t> ReadTime(const std::string& text, std::uint64_t start)
{
    std::tm fields{};
    const char* const rest = ::strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &fields);
    double seconds = 0.0;
    int used = 0;
    if (rest == nullptr) {
        const bool isNumber = std::sscanf(text.c_str(), "%lf%n", &seconds, &used) == 1 &&
                              text[static_cast<std::size_t>(used)] == '\0' && seconds >= 0.0 &&
                              seconds < 1e9;
        return isNumber ? std::optional<std::uint64_t>(
                              start + static_cast<std::uint64_t>(seconds * kNanoseconds))
                        : std::nullopt;
    }
    std::string fraction = rest;
    if (!fraction.empty() && fraction.back() == 'Z') {
        fraction.pop_back();
    }
    const bool isFraction =
        fraction.empty() || (fraction[0] == '.' && fraction.size() > 1 &&
                             fraction.find_first_not_of("0123456789", 1) == std::string::npos);
    const std::time_t whole = ::timegm(&fields);
    if (!isFraction || whole < 0) {
        return std::nullopt;
    }
    fraction = fraction.empty() ? "0" : fraction.substr(1);
    fraction.resize(9, '0');
    return static_cast<std::uint64_t>(whole) * 1'000'000'000U +
           (rest[0] == '.' ? std::stoull(fraction) : 0);
}

} // namespace

CRecording::CRecording(const std::string& path)
    : m_path(path), m_source(path), m_reader(m_source, Decompressions()), m_link(m_reader)
{
    if (m_source.Size() > kLongFile) {
        m_progress = std::make_unique<CFeedProgress>();
        m_start = SecondsNow();
    }
}

EMcapStep CRecording::Note(EMcapStep step)
{
    m_end = step;
    ++m_records;
    if (m_progress != nullptr && m_untilShown-- == 0) {
        m_untilShown = kRecordsBetweenLooks;
        m_progress->Show(
            {m_reader.Position(), m_source.Size(), m_records, 0, SecondsNow() - m_start, "record"});
    }
    return step;
}

EMcapStep CRecording::NextRecord()
{
    return Note(m_reader.Next());
}

EMcapStep CRecording::NextItem(CRecordedItem& item)
{
    return Note(m_link.Next(item));
}

std::string CRecording::Problem() const
{
    if (!m_source.Problem().empty()) {
        return m_path + ": " + m_source.Problem();
    }
    return m_end == EMcapStep::Bad ? m_path + ": " + m_reader.Problem() : std::string();
}

std::string CRecording::Remark() const
{
    if (m_end == EMcapStep::Cut) {
        return m_path + ": " + m_reader.Problem() + "; every complete record has been read";
    }
    return m_reader.WrongChecksums() == 0
               ? std::string()
               : m_path + ": " + std::to_string(m_reader.WrongChecksums()) +
                     (m_reader.WrongChecksums() == 1 ? " checksum does" : " checksums do") +
                     " not agree with what they stand for";
}

bool FinishReading(CContext& context, CRecording& recording)
{
    recording.ClearProgress();
    const std::string problem = recording.Problem();
    if (!problem.empty()) {
        context.Fail(kExitUsage, problem);
        return false;
    }
    if (!recording.Remark().empty()) {
        WriteError(recording.Remark());
    }
    return true;
}

std::string TimeText(std::uint64_t nanoseconds)
{
    const auto seconds = static_cast<std::time_t>(nanoseconds / 1'000'000'000U);
    std::tm fields{};
    char text[64];
    char whole[80];
    ::gmtime_r(&seconds, &fields);
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &fields);
    std::snprintf(whole, sizeof whole, "%s.%09dZ", text,
                  static_cast<int>(nanoseconds % 1'000'000'000));
    return whole;
}

bool CTimeSpan::Has(std::uint64_t time, std::uint64_t start)
{
    if (!m_isRead) {
        m_isRead = true;
        m_begin = m_from.empty() ? 0 : ReadTime(m_from, start).value_or(0);
        m_end = m_to.empty() ? ~std::uint64_t{0} : ReadTime(m_to, start).value_or(0);
    }
    return time >= m_begin && time <= m_end;
}

std::string CTimeSpan::Problem() const
{
    for (const std::string& text : {m_from, m_to}) {
        if (!text.empty() && !ReadTime(text, 0)) {
            return text + " is no time: 12.5, in seconds since the start, and "
                          "2026-11-22T10:15:30Z are";
        }
    }
    const bool areAlike = !m_from.empty() && !m_to.empty() && IsMoment(m_from) == IsMoment(m_to);
    return areAlike && *ReadTime(m_to, 0) < *ReadTime(m_from, 0)
               ? "--to " + m_to + " lies before --from " + m_from
               : std::string();
}

Json ItemJson(const CRecordedItem& item)
{
    Json json{{"number", item.number}, {"time", TimeText(item.time)},
              {"client", item.client}, {"kind", NameOf(item.kind)},
              {"name", item.name},     {item.isError ? "error" : "value", item.value}};
    if (item.request != 0) {
        json["request"] = item.request;
    }
    return json;
}

std::string InOneLine(const std::string& name)
{
    std::string line;
    for (const char character : name) {
        line += character == '\n' ? "\\x0a" : std::string(1, character);
    }
    return Printable(line);
}

std::string ItemText(const CRecordedItem& item)
{
    std::string text = std::to_string(item.number) + "  " + TimeText(item.time) + "  ";
    if (item.client > 1) {
        text += "client " + std::to_string(item.client) + "  ";
    }
    text += std::string(NameOf(item.kind)) + " " + InOneLine(item.name);
    text += item.kind == ERecorded::Reply ? (item.isError ? " error: " : " = ") : " ";
    return text + ShortText(item.value);
}

bool Passes(const CRecordedItem& item, const CItemFilter& filter)
{
    return MayPass(item, filter) &&
           (filter.text.empty() ||
            (item.name + " " + ShortText(item.value, 1'000'000)).find(filter.text) !=
                std::string::npos);
}

bool MayPass(const CRecordedItem& head, const CItemFilter& filter)
{
    const bool isWanted = (filter.operation.empty() || head.name == filter.operation) &&
                          (filter.client == 0 || head.client == filter.client) &&
                          (filter.number == 0 || head.number == filter.number);
    // What became of a connection, and what is not a message, has its text without bytes.
    return isWanted &&
           (filter.text.empty() || head.kind == ERecorded::State || head.kind == ERecorded::Bad ||
            !StandsInBytes(filter.text) || head.bytes.find(filter.text) != std::string::npos ||
            head.name.find(filter.text) != std::string::npos);
}
