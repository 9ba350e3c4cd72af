// Which samples from outside are believed.

#include <string>

#include <gtest/gtest.h>

#include "simulator/world/Simulation.h"

namespace {

/// A machine that drives north at 2 m/s, and samples of it ten times a second.
class CFedMachine
{
public:
    explicit CFedMachine(const SimulationOptions& options = {}) : m_simulation(options)
    {
        m_simulation.SetImplementWidth(12.0);
        m_simulation.SetLine(StraightLine({0.0, 0.0}, {0.0, 100.0}));
        m_simulation.StartNavigation(EFollow::LineItself);
    }

    FedPosition Sample() const
    {
        FedPosition sample;
        sample.valid = true;
        sample.position = {m_east, 2.0 * m_simulation.Time()};
        sample.heading = 0.0;
        sample.speed = 2.0;
        sample.fixQuality = m_fix;
        sample.sigma = m_sigma;
        sample.number = static_cast<int>(10.0 * m_simulation.Time()) + 100;
        sample.time = 1.0e9 + m_simulation.Time();
        return sample;
    }

    COutcome Feed() { return m_simulation.Feed(Sample()); }
    void Advance() { Steps(5); }
    void FeedFor(int samples)
    {
        for (int sample = 0; sample < samples; ++sample) {
            Feed();
            Advance();
        }
    }
    /// The same sample over and over.
    void RepeatFor(const FedPosition& sample, int samples)
    {
        for (int repeat = 0; repeat < samples; ++repeat) {
            m_simulation.Feed(sample);
            Advance();
        }
    }
    void Steps(int steps)
    {
        for (int step = 0; step < steps; ++step) {
            m_simulation.Step();
        }
    }
    CSimulation& World() { return m_simulation; }
    double Cross() const { return m_simulation.Status().crossTrackError; }

    double m_east = 0.0;
    int m_fix = 4;
    double m_sigma = 0.01;

private:
    CSimulation m_simulation;
};

TEST(FedSamples, ThatRepeatThemselvesEndSteeringAfterASecond)
{
    CFedMachine machine;
    machine.FeedFor(10);
    ASSERT_TRUE(machine.World().Engage());

    const FedPosition last = machine.Sample();
    machine.RepeatFor(last, 9);
    EXPECT_TRUE(machine.World().Engaged());
    machine.RepeatFor(last, 5);

    EXPECT_TRUE(machine.World().DroppedByService());
    EXPECT_EQ("no fresh position has come for 1 s: the sample repeats the one before",
              machine.World().DropReason());
    // Who sends is still there.
    machine.RepeatFor(last, 60);
    EXPECT_TRUE(machine.World().FedMode());
    EXPECT_FALSE(machine.World().Engage());
}

TEST(FedSamples, ThatAreOlderThanOnesBeforeDoNotMoveTheMachine)
{
    CFedMachine machine;
    machine.FeedFor(10);
    FedPosition older = machine.Sample();
    machine.FeedFor(10);
    FedPosition lower = machine.Sample();
    machine.FeedFor(1);
    const double north = machine.World().EstimatedPose().position.y;

    EXPECT_EQ("the sample is older than one before", machine.World().Feed(older).Reason());
    lower.time = 0.0;
    EXPECT_FALSE(machine.World().Feed(lower));
    EXPECT_EQ(north, machine.World().EstimatedPose().position.y);
    // Numbers may begin anew when the time goes on.
    FedPosition renumbered = machine.Sample();
    renumbered.number = 1;
    EXPECT_TRUE(machine.World().Feed(renumbered));
}

TEST(FedSamples, OfAPoorFixOrSigmaDoNotEngageAndEndSteeringAfterASecond)
{
    struct Row
    {
        int fix;
        double sigma;
        ELeastFix least;
        bool good;
    };
    for (const Row& row :
         {Row{4, 0.01, ELeastFix::RtkFloat, true}, Row{5, 0.3, ELeastFix::RtkFloat, true},
          Row{2, 0.3, ELeastFix::RtkFloat, false}, Row{1, 0.3, ELeastFix::RtkFloat, false},
          Row{0, 100.0, ELeastFix::RtkFloat, false}, Row{8, 0.01, ELeastFix::RtkFloat, false},
          Row{4, 0.6, ELeastFix::RtkFloat, false}, Row{5, 0.1, ELeastFix::RtkFixed, false},
          Row{2, 0.3, ELeastFix::Dgps, true}, Row{3, 0.3, ELeastFix::Dgps, true},
          Row{1, 0.3, ELeastFix::Dgps, false}, Row{1, 0.3, ELeastFix::Gps, true},
          Row{0, 0.3, ELeastFix::Gps, false}, Row{0, 0.3, ELeastFix::Any, true},
          Row{0, 100.0, ELeastFix::Any, false}}) {
        SimulationOptions options;
        options.leastFix = row.least;
        CFedMachine machine(options);
        machine.FeedFor(10);
        ASSERT_EQ(row.least <= ELeastFix::RtkFixed, static_cast<bool>(machine.World().Engage()));
        machine.m_fix = row.fix;
        machine.m_sigma = row.sigma;
        machine.FeedFor(9);
        EXPECT_TRUE(machine.World().Engaged()) << row.fix << ", " << row.sigma;
        machine.FeedFor(5);
        EXPECT_EQ(row.good, machine.World().Engaged()) << row.fix << ", " << row.sigma;
        if (!row.good) {
            machine.World().Disengage();
            EXPECT_FALSE(machine.World().Engage()) << row.fix << ", " << row.sigma;
            // One good sample is enough.
            machine.m_fix = 4;
            machine.m_sigma = 0.01;
            machine.FeedFor(1);
            EXPECT_TRUE(machine.World().Engage()) << row.fix << ", " << row.sigma;
        }
    }
}

TEST(FedSamples, WhereNoMachineCanHaveGotToAreHeldBack)
{
    CFedMachine machine;
    machine.FeedFor(20);
    ASSERT_TRUE(machine.World().Engage());

    machine.m_east = 1.2;
    EXPECT_NE(std::string::npos, machine.Feed().Reason().find("held back"));
    machine.Advance();
    machine.FeedFor(2);
    EXPECT_NEAR(0.0, machine.Cross(), 0.02);
    EXPECT_TRUE(machine.World().Engaged());
    // And back: nothing has happened.
    machine.m_east = 0.0;
    machine.FeedFor(20);
    EXPECT_TRUE(machine.World().Engaged());
    EXPECT_NEAR(0.0, machine.Cross(), 0.02);
}

TEST(FedSamples, ThatStayWhereNoMachineCanHaveGotToEndSteering)
{
    CFedMachine machine;
    machine.FeedFor(20);
    ASSERT_TRUE(machine.World().Engage());

    machine.m_east = 1.2;
    machine.FeedFor(8);

    EXPECT_TRUE(machine.World().DroppedByService());
    EXPECT_EQ("the fed positions have jumped by 1.20 m, and stay there",
              machine.World().DropReason());
    EXPECT_NEAR(1.2, machine.Cross(), 0.02);
    EXPECT_TRUE(machine.World().Engage());
}

TEST(FedSamples, MayPutAMachineAnywhereThatIsNotSteered)
{
    CFedMachine machine;
    machine.FeedFor(10);
    machine.m_east = 5.0;

    machine.FeedFor(1);

    EXPECT_NEAR(5.0, machine.Cross(), 0.02);
}

} // namespace
