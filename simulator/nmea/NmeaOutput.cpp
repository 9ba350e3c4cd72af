#include "simulator/nmea/NmeaOutput.h"

#include <charconv>
#include <utility>

#include "simulator/service/LineFile.h"

namespace {

constexpr std::size_t kMostWaitingForFile = 1024 * 1024;

bool BeginsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

} // namespace

std::optional<NmeaTarget> ReadNmeaTarget(const std::string& word)
{
    const std::string tcp = "tcp:";
    const std::string file = "file:";
    if (BeginsWith(word, file) && word.size() > file.size()) {
        return NmeaTarget{std::nullopt, word.substr(file.size())};
    }
    std::uint16_t port = 0;
    const char* const end = word.data() + word.size();
    if (!BeginsWith(word, tcp) || word.size() == tcp.size()) {
        return std::nullopt;
    }
    const auto read = std::from_chars(word.data() + tcp.size(), end, port);
    if (read.ec != std::errc() || read.ptr != end) {
        return std::nullopt;
    }
    return NmeaTarget{port, {}};
}

CNmeaOutput::File::File(const std::string& name, CDescriptor descriptor)
    : path(name), writer(std::move(descriptor), kMostWaitingForFile)
{
}

CNmeaOutput::CNmeaOutput(asio::io_context& loop, const NmeaOptions& options, std::uint64_t seed,
                         LogSink log)
    : m_loop(loop), m_options(options), m_log(std::move(log)),
      m_source(options.rate, options.origin, seed,
               [this](std::string&& text) { Send(std::move(text)); })
{
}

std::string CNmeaOutput::Open(const CStateFile* settings, bool& isPort)
{
    for (const NmeaTarget& target : m_options.targets) {
        isPort = target.port.has_value();
        std::string problem;
        if (isPort) {
            problem = m_servers.emplace_back(m_loop).Listen(*target.port);
        } else {
            problem = OpenFile(target.path, settings);
        }
        if (!problem.empty()) {
            return "NMEA: " + problem;
        }
    }
    return {};
}

std::string CNmeaOutput::OpenFile(const std::string& path, const CStateFile* settings)
{
    CDescriptor file;
    const std::string problem = OpenLineFile(path, settings, file);
    if (!problem.empty()) {
        return "cannot write the file " + path + ": " + problem;
    }
    m_files.emplace_back(path, std::move(file));
    return {};
}

std::string CNmeaOutput::Announcement() const
{
    std::string text;
    for (const CNmeaServer& server : m_servers) {
        text += "NMEA at localhost, port " + std::to_string(server.Port()) + "\n";
    }
    return text;
}

void CNmeaOutput::Send(std::string&& text)
{
    for (CNmeaServer& server : m_servers) {
        server.Send(text);
    }
    m_files.remove_if([this, &text](File& file) { return !Write(file, text); });
}

/// @return false when the file can be written no more.
bool CNmeaOutput::Write(File& file, const std::string& text)
{
    if (file.writer.Error() != 0) {
        m_log(ELogLevel::Error,
              "the NMEA file " + file.path + " cannot be written any more and ends here");
        return false;
    }
    file.writer.Write(text);
    const std::size_t leftOut = file.writer.TakeLeftOut();
    if (leftOut != 0 && file.writer.Error() == 0) {
        m_log(ELogLevel::Error, "the NMEA file " + file.path + " lacks " + std::to_string(leftOut) +
                                    " moments that could not be written in time");
    }
    return true;
}

void CNmeaOutput::Close(std::chrono::steady_clock::time_point deadline)
{
    for (File& file : m_files) {
        file.writer.Finish(deadline);
    }
    m_files.clear();
}
