#include "simulator/nmea/NmeaServer.h"

#include <array>
#include <cerrno>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/error.hpp>

namespace {

/// What the system may keep for a reader beside what waits here, bytes: so a reader that takes
/// nothing is found out in time.
constexpr int kSystemBuffer = 64 * 1024;

bool IsLacking(const asio::error_code& error)
{
    return error == asio::error::address_family_not_supported ||
           error == asio::error_code(EADDRNOTAVAIL, asio::error::get_system_category());
}

} // namespace

/// One who reads. Its operations under way keep it alive; Close() ends them.
class CNmeaServer::CReader : public std::enable_shared_from_this<CReader>
{
public:
    explicit CReader(asio::ip::tcp::socket socket) : m_socket(std::move(socket)) {}

    void Start()
    {
        asio::error_code ignored;
        m_socket.non_blocking(true, ignored);
        m_socket.set_option(asio::socket_base::send_buffer_size(kSystemBuffer), ignored);
        m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
        ThrowAway();
    }

    bool IsOpen() const { return m_socket.is_open(); }

    void Close()
    {
        asio::error_code ignored;
        m_socket.close(ignored);
    }

    void Send(const std::string& text)
    {
        if (m_waiting.size() + text.size() > kMostWaiting) {
            Close();
            return;
        }
        m_waiting += text;
        if (!m_waitsForRoom) {
            WriteWhatGoes();
        }
    }

private:
    void WriteWhatGoes()
    {
        asio::error_code error;
        const std::size_t taken = m_socket.write_some(asio::buffer(m_waiting), error);
        m_waiting.erase(0, taken);
        if (error && error != asio::error::would_block && error != asio::error::interrupted) {
            Close();
        } else if (!m_waiting.empty()) {
            WaitForRoom();
        }
    }

    void WaitForRoom()
    {
        m_waitsForRoom = true;
        m_socket.async_wait(asio::ip::tcp::socket::wait_write,
                            [self = shared_from_this()](const asio::error_code& error) {
                                self->m_waitsForRoom = false;
                                if (!error && self->IsOpen()) {
                                    self->WriteWhatGoes();
                                }
                            });
    }

    void ThrowAway()
    {
        m_socket.async_read_some(
            asio::buffer(m_thrownAway),
            [self = shared_from_this()](const asio::error_code& error, std::size_t) {
                if (!error) {
                    self->ThrowAway();
                } else if (error != asio::error::eof) {
                    self->Close(); // at the end of what it says it may go on to read
                }
            });
    }

    asio::ip::tcp::socket m_socket;
    std::string m_waiting;
    bool m_waitsForRoom = false;
    std::array<char, 512> m_thrownAway{};
};

CNmeaServer::CNmeaServer(asio::io_context& loop) : m_loop(loop) {}

CNmeaServer::~CNmeaServer()
{
    for (const auto& listener : m_listeners) {
        listener->Close();
    }
    for (const auto& reader : m_readers) {
        reader->Close();
    }
}

std::string CNmeaServer::Listen(std::uint16_t port)
{
    const asio::error_code errorOfV4 = Open(asio::ip::address_v4::loopback(), port);
    const std::uint16_t samePort = m_listeners.empty() ? port : Port();
    const asio::error_code errorOfV6 = errorOfV4 && !IsLacking(errorOfV4)
                                           ? errorOfV4
                                           : Open(asio::ip::address_v6::loopback(), samePort);
    if (!errorOfV6 || (IsLacking(errorOfV6) && !m_listeners.empty())) {
        return {};
    }
    return "cannot listen on port " + std::to_string(port) + ": " + errorOfV6.message();
}

asio::error_code CNmeaServer::Open(const asio::ip::address& address, std::uint16_t port)
{
    const auto listener = std::make_shared<ServerListenerC>(
        m_loop, [this](asio::ip::tcp::socket socket) { Take(std::move(socket)); },
        [](const asio::error_code&) {},
        [this] {
            m_readers.remove_if([](const auto& reader) { return !reader->IsOpen(); });
            return m_readers.size() < kMostReaders ? ServerListenerC::ERoom::Free
                                                   : ServerListenerC::ERoom::None;
        });
    const asio::error_code error = listener->Open(address, port);
    if (!error) {
        m_listeners.push_back(listener);
    }
    return error;
}

std::uint16_t CNmeaServer::Port() const
{
    return m_listeners.empty() ? std::uint16_t{0} : m_listeners.front()->Port();
}

void CNmeaServer::Take(asio::ip::tcp::socket socket)
{
    m_readers.push_back(std::make_shared<CReader>(std::move(socket)));
    m_readers.back()->Start();
}

void CNmeaServer::Send(const std::string& text)
{
    for (const auto& reader : m_readers) {
        reader->Send(text);
    }
    m_readers.remove_if([](const auto& reader) { return !reader->IsOpen(); });
}
