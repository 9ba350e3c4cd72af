#include "simulator/operations/PositionSample.h"

#include <cmath>

#include "platform/ObjectStore.h"
#include "simulator/base/NumberText.h"

namespace {

constexpr double kHighestLatitude = 90.0;
constexpr double kHighestLongitude = 180.0;
constexpr double kHighestHeight = 100000.0;
constexpr double kHighestSpeed = 100.0;

/// Reads one tag after the other and remembers the first that is missing.
class CSampleReader
{
public:
    explicit CSampleReader(Core::IO::ObjectStore& store) : m_store(store) {}

    void Read(double& value) { Note(m_store.ProcessDouble(value, ++m_tag)); }
    void Read(int& value) { Note(m_store.ProcessInt(value, ++m_tag)); }
    void Read(bool& value)
    {
        int number = 0;
        Read(number);
        value = number != 0;
    }
    unsigned int FirstMissing() const { return m_firstMissing; }

private:
    void Note(bool found)
    {
        if (!found && m_firstMissing == 0) {
            m_firstMissing = m_tag;
        }
    }

    Core::IO::ObjectStore& m_store;
    unsigned int m_tag = 0;
    unsigned int m_firstMissing = 0;
};

std::string Impossible(const char* what, double value, double limit)
{
    if (std::isfinite(value) && std::abs(value) <= limit) {
        return {};
    }
    return NumberText(value) + " is no " + what;
}

} // namespace

std::string ReadPositionSample(const std::string& text, PositionSample& sample)
{
    Core::IO::ObjectStore store;
    if (!store.SetInputMode(text)) {
        return "the text is no record of tag=value pairs";
    }
    CSampleReader reader(store);
    for (double* value :
         {&sample.latitude, &sample.longitude, &sample.height, &sample.courseOverGround,
          &sample.groundSpeed, &sample.roll, &sample.pitch, &sample.yaw, &sample.rollRate,
          &sample.pitchRate, &sample.yawRate, &sample.sigmaEast, &sample.sigmaNorth,
          &sample.sigmaUp}) {
        reader.Read(*value);
    }
    reader.Read(sample.positionValid);
    reader.Read(sample.fixQuality);
    reader.Read(sample.satellitesInUse);
    reader.Read(sample.headingValid);
    reader.Read(sample.movesInReverse);
    reader.Read(sample.number);
    reader.Read(sample.unixTime);
    if (reader.FirstMissing() != 0) {
        return "no readable value stands under tag " + std::to_string(reader.FirstMissing());
    }
    return {};
}

std::string ImpossibleInSample(const PositionSample& sample)
{
    for (const std::string& problem :
         {Impossible("latitude in degrees", sample.latitude, kHighestLatitude),
          Impossible("longitude in degrees", sample.longitude, kHighestLongitude),
          Impossible("height in metres", sample.height, kHighestHeight),
          Impossible("ground speed in metres per second", sample.groundSpeed, kHighestSpeed),
          sample.headingValid
              ? Impossible("yaw in radians", sample.yaw, kHighestHeight)
              : Impossible("course in radians", sample.courseOverGround, kHighestHeight)}) {
        if (!problem.empty()) {
            return problem;
        }
    }
    return {};
}
