#ifndef KESTROVE_SIMULATOR_BASE_DESCRIPTOR_H
#define KESTROVE_SIMULATOR_BASE_DESCRIPTOR_H

#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

/// Owns a file descriptor and closes it at the end. Thread safety: none.
class CDescriptor
{
public:
    CDescriptor() = default;
    /// @param descriptor taken over; a negative one stands for none.
    explicit CDescriptor(int descriptor) : m_descriptor(descriptor) {}
    CDescriptor(CDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, kNone))
    {
    }
    CDescriptor& operator=(CDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~CDescriptor()
    {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }

    bool IsOpen() const { return m_descriptor >= 0; }
    int Get() const { return m_descriptor; }

private:
    static constexpr int kNone = -1;

    int m_descriptor = kNone;
};

/// How a file is opened in a folder where anybody may have put anything.
constexpr int kStrangersFile = O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;

/// @return the system's words for a value of errno.
inline std::string SystemReason(int error)
{
    return std::generic_category().message(error);
}

#endif
