#ifndef KESTROVE_SIMULATOR_NMEA_NMEAOUTPUT_H
#define KESTROVE_SIMULATOR_NMEA_NMEAOUTPUT_H

#include <chrono>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include <asio/io_context.hpp>

#include "simulator/nmea/NmeaOptions.h"
#include "simulator/nmea/NmeaServer.h"
#include "simulator/nmea/NmeaSource.h"
#include "simulator/output/LineWriter.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/settings/StateFile.h"

/// Says what the machine's receiver does to all targets. A file that takes nothing holds up nobody:
/// 1 MiB waits for it, and moments beyond that are left out, each as a whole.
/// Thread safety: none.
class CNmeaOutput
{
public:
    /// @param loop must outlive this object.
    /// @param log receives a line when moments were left out of a file, or none can be written any
    ///        more.
    CNmeaOutput(asio::io_context& loop, const NmeaOptions& options, std::uint64_t seed,
                LogSink log);

    /// Opens every target.
    ///
    /// @param settings the state file, which no target is to overwrite; null for none.
    /// @param port receives whether what stands in the way is a port.
    /// @return an empty text on success, otherwise what stands in the way.
    std::string Open(const CStateFile* settings, bool& isPort);
    /// To be called after each step of the world; see CNmeaSource::Look().
    void Look(const CSimulation& world, const std::optional<GeodeticPlace>& setOrigin)
    {
        m_source.Look(world, setOrigin);
    }
    /// What is listened on, a line for each port, to be announced; empty when nothing is.
    std::string Announcement() const;
    /// Ends the files, once all has been written or the deadline has come.
    void Close(std::chrono::steady_clock::time_point deadline);

private:
    struct File
    {
        File(const std::string& name, CDescriptor descriptor);

        std::string path;
        CLineWriter writer;
    };

    std::string OpenFile(const std::string& path, const CStateFile* settings);
    void Send(std::string&& text);
    bool Write(File& file, const std::string& text);

    asio::io_context& m_loop;
    NmeaOptions m_options;
    LogSink m_log;
    std::list<CNmeaServer> m_servers;
    std::list<File> m_files;
    CNmeaSource m_source;
};

#endif
