// An application's test that has an Asio of its own beside the scripted service: a loop with a
// timer and a connection to itself.
#include <chrono>
#include <iostream>
#include <string>

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/read.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>

#include <api/NavigationAPI.h>
#include <testing/ScriptedService.h>

namespace {

using asio::ip::tcp;

/// What the application does with its loop: sends itself a word and waits for a timer.
class OwnLoop
{
public:
    OwnLoop() : m_acceptor(m_loop, tcp::endpoint(asio::ip::address_v4::loopback(), 0))
    {
        m_acceptor.async_accept(m_accepted, [this](const asio::error_code& error) {
            if (!error) {
                asio::async_write(m_accepted, asio::buffer(m_sent),
                                  [](const asio::error_code&, std::size_t) {});
            }
        });
        m_socket.async_connect(m_acceptor.local_endpoint(), [this](const asio::error_code& error) {
            if (!error) {
                asio::async_read(
                    m_socket, asio::buffer(m_received),
                    [this](const asio::error_code& ended, std::size_t) { m_hasRead = !ended; });
            }
        });
        m_timer.async_wait([this](const asio::error_code& error) { m_rang = !error; });
        asio::post(m_loop, [this] { m_posted = true; });
    }

    bool Works()
    {
        m_loop.run();
        return m_rang && m_posted && m_hasRead && m_received == m_sent;
    }

private:
    asio::io_context m_loop;
    tcp::acceptor m_acceptor;
    tcp::socket m_accepted{m_loop};
    tcp::socket m_socket{m_loop};
    asio::steady_timer m_timer{m_loop, std::chrono::milliseconds(1)};
    std::string m_sent{"word"};
    std::string m_received = std::string(4, ' ');
    bool m_rang{false};
    bool m_posted{false};
    bool m_hasRead{false};
};

} // namespace

int main()
{
    OwnLoop own;
    Kestrove::Testing::CScriptedService service;
    service.Expect("EngageSteering", "[int 1]", 1);
    CNavigationAPI navigation;

    const int answer = navigation.EngageSteering();
    const bool works = own.Works();
    const std::string problems = service.Problems();

    std::cout << "EngageSteering gave " << answer << ", the loop " << works << "\n" << problems;
    return answer == 1 && works && problems.empty() ? 0 : 1;
}
