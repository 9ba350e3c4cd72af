#include <atomic>

#include <netdb.h>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "testing/ScriptedService.h"

namespace {

std::atomic<int> g_lookUps{0};

} // namespace

/// Stands in for the system's resolver in the whole program, the library included, and finds
/// nothing.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char*, const char*,
                                                                  const addrinfo*, addrinfo**)
{
    ++g_lookUps;
    return EAI_FAIL;
}

TEST(Resolver, IsNotAskedForLocalhost)
{
    Kestrove::Testing::CScriptedService service;
    service.Answer("EngageSteering", 1);
    CNavigationAPI navigation;
    EXPECT_EQ(1, navigation.EngageSteering());
    EXPECT_EQ(0, g_lookUps);
}

TEST(Resolver, IsAskedForAnyOtherName)
{
    MPISocketClientC client(false);
    EXPECT_FALSE(client.Connect("elsewhere.invalid", 5010, 100));
    EXPECT_LE(1, g_lookUps);
    EXPECT_EQ(ELinkError::Refused, client.LastError().code);
}
