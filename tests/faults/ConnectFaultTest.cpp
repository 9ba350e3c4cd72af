#include <memory>

#include <gtest/gtest.h>

#include "tests/faults/Fault.h"
#include "tests/faults/Process.h"
#include "tests/faults/Scripts.h"
#include "tests/support/DescriptorHog.h"
#include "tests/support/NetworkNamespace.h"
#include "tests/support/SwallowingPort.h"

namespace {

constexpr std::uint16_t kPort = 5010;

template <typename Type>
std::shared_ptr<void> A()
{
    return std::make_shared<Type>();
}

std::shared_ptr<void> SwallowingIPv6()
{
    return std::make_shared<CSwallowingPort>(kPort, ELoopback::IPv6);
}

std::shared_ptr<void> SwallowingBoth()
{
    using Both = std::pair<CSwallowingPort, CSwallowingPort>;
    return std::make_shared<Both>(std::piecewise_construct,
                                  std::forward_as_tuple(kPort, ELoopback::IPv4),
                                  std::forward_as_tuple(kPort, ELoopback::IPv6));
}

std::shared_ptr<void> NoDescriptorLeft()
{
    // The sanitizer looks at an object's type through a pipe of its own, once: before none is left.
    for (const CCall& call : kCalls) {
        CNavigationAPI navigation;
        navigation.SetOffsetCallback(Core::Functors::MakeFunctor([](double) {}));
        navigation.SetOffsetCallback(nullptr);
        navigation.SetGuidanceStatusCallback(
            Core::Functors::MakeFunctor([](int, double, double, double) {}));
        navigation.SetGuidanceStatusCallback(nullptr);
        call.make(navigation);
    }
    auto hog = std::make_shared<std::unique_ptr<CDescriptorHog>>();
    std::shared_ptr<void>(hog).reset();
    *hog = std::make_unique<CDescriptorHog>();
    return hog;
}

std::vector<CFault> ConnectionFaults()
{
    return {
        CFault("NobodyListens").Fails(ELinkError::Refused),
        CFault("TheListenerComesLate", Serve)
            .StartingLate()
            .Succeeds()
            .SaysNothingToNotifications(),
        CFault("ClosedAtAccept", [](CRawLink&) {})
            .EndsTheConnection()
            .Fails(ELinkError::Closed)
            .NotificationsMayFail(),
        CFault("ResetAtAccept", [](CRawLink& link) { link.Reset(); })
            .EndsTheConnection()
            .Fails()
            .NotificationsMayFail(),
        CFault("AcceptedAndNeverRead", [](CRawLink& link) { link.Pause(60000); })
            .SaysNothingToNotifications()
            .Fails(ELinkError::TimedOut),
        CFault("TheAcceptQueueIsFull").Under(SwallowingBoth).Fails(ELinkError::TimedOut),
        CFault("ListensOnIPv4Alone", Serve).SaysNothingToNotifications().Succeeds(),
        CFault("ListensOnIPv6Alone", Serve).OnIPv6().SaysNothingToNotifications().Succeeds(),
        CFault("IPv6SwallowsConnections", Serve)
            .Under(SwallowingIPv6)
            .SaysNothingToNotifications()
            .Succeeds(),
        CFault("DescriptorsLieAbove1023", Serve)
            .Under(A<CManyDescriptors>)
            .SaysNothingToNotifications()
            .Succeeds(),
        CFault("NoDescriptorIsLeft").Under(NoDescriptorLeft).Fails(ELinkError::System),
    };
}

/// Makes each call in a network where a connection to the service's port is one to itself.
std::string CallWhereTheLinkWouldBeToItself()
{
    for (const CCall& call : kCalls) {
        CNavigationAPI navigation;
        navigation.SetTimeout(100);
        const double value = call.make(navigation);
        if (value != call.failure || navigation.LastError().code != ELinkError::Refused ||
            navigation.Descriptor() != -1) {
            return call.serviceName + (": " + navigation.LastError().text);
        }
    }
    return "";
}

} // namespace

TEST_P(Fault, HurtsNothing)
{
    CheckFault(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Connecting, Fault, testing::ValuesIn(ConnectionFaults()), NameOfFault);

TEST(ConnectFault, OfTheClientsOwnEndOnTheServicesPortIsARefusal)
{
    const CIsolatedOutcome outcome =
        InNetworkOfItsOwn(kPort, kPort, CallWhereTheLinkWouldBeToItself);
    if (!outcome.isAllowed) {
        GTEST_SKIP() << "the system allows no network namespace";
    }
    EXPECT_EQ("", outcome.problem);
}

TEST(ConnectFault, LeavesNoDescriptorAfterTenThousandFailures)
{
    CNavigationAPI navigation;
    const int before = CountDescriptors();
    for (int count = 0; count < 10000; ++count) {
        const CCall& call = kCalls[count % 3];
        ASSERT_EQ(call.failure, call.make(navigation)) << call.serviceName << ' ' << count;
        ASSERT_EQ(ELinkError::Refused, navigation.LastError().code) << call.serviceName;
    }
    EXPECT_EQ(before, CountDescriptors());
}

TEST(ConnectFault, LeavesNoDescriptorAfterAThousandConnectionsClosedAtAccept)
{
    const int before = CountDescriptors();
    {
        CRawPeer service([](CRawLink&) {});
        CNavigationAPI navigation;
        for (int count = 0; count < 1000; ++count) {
            const CCall& call = kCalls[count % 3];
            ASSERT_EQ(call.failure, call.make(navigation)) << call.serviceName << ' ' << count;
        }
        EXPECT_GE(service.ConnectionCount(), 300);
    }
    EXPECT_EQ(before, CountDescriptors());
}
