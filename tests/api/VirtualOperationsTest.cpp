#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"

namespace {

template <typename...>
struct Types;

/// Whether a member function takes just these parameters.
template <typename... Expected>
struct Taking
{
    template <typename Class, typename Result, typename... Parameters>
    static constexpr bool Is(Result (Class::*)(Parameters...))
    {
        return std::is_same_v<Types<Expected...>, Types<Parameters...>>;
    }
};

/// To reach operations whatever their access.
class CClient : public CNavigationAPI
{
public:
    static constexpr bool SocketTakes()
    {
        return Taking<>::Is(&CClient::Idle) && Taking<int>::Is(&CClient::Accept) &&
               Taking<>::Is(&CClient::Reconnect) && Taking<>::Is(&CClient::Connected) &&
               Taking<>::Is(&CClient::GetExtraReader) && Taking<>::Is(&CClient::ReadExtra) &&
               Taking<>::Is(&CClient::DataReceived) &&
               Taking<std::string, unsigned short>::Is(&CClient::DataReceivedFrom) &&
               Taking<>::Is(&CClient::DataSent) && Taking<>::Is(&CClient::Disconnected);
    }
    static constexpr bool ConnectionTakes()
    {
        return Taking<>::Is(&CClient::Destroy) &&
               Taking<const std::string&, BListC*>::Is(&CClient::DoCallback) &&
               Taking<const std::string&, BListC*>::Is(&CClient::DoClientCallback) &&
               Taking<bool>::Is(&CClient::ProcessMessages) &&
               Taking<>::Is(&CClient::CheckCallbacks) && Taking<int>::Is(&CClient::SetTimeout) &&
               Taking<BEncoderC*>::Is(&CClient::SendMessage) &&
               Taking<BElementC*>::Is(&CClient::SendMessageElement) &&
               Taking<bool>::Is(&CClient::ReceiveMessage) &&
               Taking<BDictionaryC*>::Is(&CClient::MessageReceived);
    }
};

TEST(VirtualOperations, TakeTheParametersThatApplicationsWereBuiltWith)
{
    static_assert(CClient::SocketTakes());
    static_assert(CClient::ConnectionTakes());
    static_assert(std::has_virtual_destructor_v<CNavigationAPI>);
    static_assert(std::is_base_of_v<MPISocketClientC, CNavigationAPI>);
    static_assert(!std::is_copy_constructible_v<CNavigationAPI>);
}

} // namespace
