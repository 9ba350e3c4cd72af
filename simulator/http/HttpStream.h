#ifndef KESTROVE_SIMULATOR_HTTP_HTTPSTREAM_H
#define KESTROVE_SIMULATOR_HTTP_HTTPSTREAM_H

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include <httplib.h>

/// How long a peer is waited for.
struct HttpPatience
{
    std::chrono::milliseconds firstByte{2000}; ///< browsers open connections that they never use
    std::chrono::milliseconds request{10000};  ///< for the whole of it, headers and body
    std::chrono::milliseconds write{5000};     ///< for a peer to take anything at all
    std::chrono::milliseconds answer{20000};   ///< for the whole of it, unless it is a stream
};

/// One connection as the HTTP library reads and writes it, with a limit to every wait: the
/// library's own starts anew with every byte.
///
/// Does not own the socket. Ends early when the socket is shut down by another thread.
/// Thread safety: none.
class HttpStreamC final : public httplib::Stream
{
public:
    /// @param socket non-blocking; must outlive this object.
    /// @param mostBytes no more than that is read.
    HttpStreamC(socket_t socket, const HttpPatience& patience, std::size_t mostBytes);

    /// Waits for the first byte of a request.
    ///
    /// @return false when none came.
    bool WaitForRequest();
    /// From now on a peer that has closed its side counts as gone: there is nothing more to be had
    /// from it, and it will not read. Its answer may take as long as it wants.
    void ExpectOpenPeer() { m_expectOpenPeer = true; }
    /// Whether the peer has closed its side, or is gone. May be asked on any thread.
    bool PeerHasClosed() const;
    /// Reads away what the peer still sends, for a moment, so that closing does not take the answer
    /// away from it.
    void Drain();

    bool is_readable() const override;
    /// Waits until the peer can take something; false when it does not, or is gone.
    bool is_writable() const override;
    ssize_t read(char* bytes, size_t size) override;
    ssize_t write(const char* bytes, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return m_socket; }

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point WriteUntil() const;
    bool Wait(short events, Clock::time_point until) const;
    bool Fill(Clock::time_point until);

    socket_t m_socket;
    HttpPatience m_patience;
    std::size_t m_bytesLeft;
    Clock::time_point m_readUntil;
    std::optional<Clock::time_point> m_answerUntil; ///< since the first byte of the answer
    std::array<char, 4096> m_buffer{};
    std::size_t m_taken = 0;
    std::size_t m_filled = 0;
    bool m_expectOpenPeer = false;
};

#endif
