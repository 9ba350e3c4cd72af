#include "runtime/PeerSocket.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <arpa/inet.h>
#include <asio/error.hpp>

namespace {

struct Question
{
    nlmsghdr header;
    inet_diag_req_v2 what;
};

/// Writes an address as the system wants it, and the port.
void Put(const asio::ip::tcp::endpoint& end, __be32* address, __be16& port)
{
    port = htons(end.port());
    if (end.address().is_v4()) {
        const auto bytes = end.address().to_v4().to_bytes();
        std::memcpy(address, bytes.data(), bytes.size());
    } else {
        const auto bytes = end.address().to_v6().to_bytes();
        std::memcpy(address, bytes.data(), bytes.size());
    }
}

/// Whether the system answers that there is no such socket.
bool IsUnknown(const char* answer, ssize_t size)
{
    nlmsgerr problem{};
    if (size < static_cast<ssize_t>(NLMSG_HDRLEN + sizeof problem)) {
        return false;
    }
    std::memcpy(&problem, answer + NLMSG_HDRLEN, sizeof problem);
    return problem.error == -ENOENT;
}

} // namespace

PeerSocketC::PeerSocketC()
    : m_socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG))
{
}

PeerSocketC::~PeerSocketC()
{
    if (m_socket >= 0) {
        ::close(m_socket);
    }
}

std::optional<PeerSocketC::StateC> PeerSocketC::Of(const asio::ip::tcp::socket& connection)
{
    asio::error_code error;
    const asio::ip::tcp::endpoint here = connection.local_endpoint(error);
    const asio::ip::tcp::endpoint there = connection.remote_endpoint(error);
    if (error == asio::error::not_connected) {
        return StateC{0, false}; // the other end has reset it
    }
    if (error || m_socket < 0) {
        return std::nullopt;
    }
    Question question{};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.header.nlmsg_seq = ++m_asked;
    question.what.sdiag_family = here.address().is_v4() ? AF_INET : AF_INET6;
    question.what.sdiag_protocol = IPPROTO_TCP;
    question.what.idiag_states = ~0U;
    inet_diag_sockid& peers = question.what.id;
    Put(there, peers.idiag_src, peers.idiag_sport);
    Put(here, peers.idiag_dst, peers.idiag_dport);
    peers.idiag_cookie[0] = peers.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    if (::send(m_socket, &question, sizeof question, 0) < 0) {
        return std::nullopt;
    }
    return Answer();
}

/// The system has answered by the time that the question has been sent.
std::optional<PeerSocketC::StateC> PeerSocketC::Answer() const
{
    alignas(nlmsghdr) std::array<char, 1024> bytes{};
    nlmsghdr header{};
    inet_diag_msg told{};
    for (;;) {
        const auto size = ::recv(m_socket, bytes.data(), bytes.size(), 0);
        if (size < static_cast<ssize_t>(sizeof header)) {
            return std::nullopt;
        }
        std::memcpy(&header, bytes.data(), sizeof header);
        if (header.nlmsg_seq != m_asked) {
            continue; // what was asked before
        }
        if (header.nlmsg_type == NLMSG_ERROR && IsUnknown(bytes.data(), size)) {
            return StateC{0, false};
        }
        if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY ||
            size < static_cast<ssize_t>(NLMSG_HDRLEN + sizeof told)) {
            return std::nullopt;
        }
        std::memcpy(&told, bytes.data() + NLMSG_HDRLEN, sizeof told);
        // A socket that no process has any more has no inode.
        return StateC{told.idiag_rqueue, told.idiag_inode != 0};
    }
}
