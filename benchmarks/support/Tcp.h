#ifndef KESTROVE_BENCHMARKS_SUPPORT_TCP_H
#define KESTROVE_BENCHMARKS_SUPPORT_TCP_H

#include <cstddef>
#include <string>

namespace Benchmarks {

constexpr unsigned short kServicePort = 5010;

/// A blocking TCP socket of this machine, and nothing more: what the library is measured against.
class CTcp
{
public:
    /// Listens on a port of the loopback interface. Throws std::runtime_error when it cannot, as
    /// the others do.
    static CTcp Listen(unsigned short port);
    static CTcp Connect(unsigned short port);
    /// Waits for the next connection.
    CTcp Accept() const;

    CTcp(CTcp&& other) noexcept;
    ~CTcp();
    CTcp(const CTcp&) = delete;
    CTcp& operator=(const CTcp&) = delete;

    void Write(const std::string& bytes) const;
    /// @return how many bytes have been read; 0 when the peer has closed the connection.
    std::size_t Read(char* space, std::size_t room) const;
    /// Reads what is there, without waiting.
    void Look() const;
    /// Reads exactly so many bytes; false when the peer has closed the connection.
    bool ReadWhole(char* space, std::size_t size) const;

private:
    explicit CTcp(int descriptor);
    int m_descriptor;
};

} // namespace Benchmarks

#endif
