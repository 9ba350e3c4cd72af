#ifndef KESTROVE_TESTS_SOAK_SOAKCLIENT_H
#define KESTROVE_TESTS_SOAK_SOAKCLIENT_H

#include <random>

#include "api/NavigationAPI.h"

/// What a client has counted.
struct SoakCounts
{
    long requests = 0;
    long events = 0;
    long wrong = 0;     ///< replies that are not what the service was sent before
    long lost = 0;      ///< events that were pushed and never came
    long reordered = 0; ///< events that came twice, out of order, or from an earlier process
    long resets = 0;    ///< connections that were reset
};

/// A client that does random operations and knows what each must answer.
class CSoakClient
{
public:
    /// @param random is used and not owned.
    explicit CSoakClient(std::mt19937& random);

    const SoakCounts& Counts() const { return m_counts; }
    /// The number of the service process that is started next, whose state is new.
    int NextEpoch();
    /// Does random operations for so long.
    void WorkFor(double seconds);
    /// Asks the service how many events it has pushed, and counts those that have not come.
    void CompareEvents();
    /// How many events the client says it has dropped.
    unsigned long Dropped() const { return m_navigation.DroppedEvents(); }
    /// Waits for the end of the connection.
    ///
    /// @param isReset whether the service has reset it; anything else is counted as wrong.
    void AwaitTheEnd(bool isReset);
    /// Calls while there is no service: each call must end with its failure value.
    void FindNoService();

    /// How many descriptors this process has open.
    static int Descriptors();

private:
    void Expect(bool isRight);
    void RoundTripOfASetting();
    void RoundTripOfAWayline();
    void AskForEvents();

    std::mt19937& m_random;
    SoakCounts m_counts;
    int m_epoch = 0;
    double m_nextEvent = 0.0;
    CNavigationAPI m_navigation;
};

#endif
