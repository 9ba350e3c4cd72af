#ifndef KESTROVE_SIMULATOR_HTTP_REQUESTREADER_H
#define KESTROVE_SIMULATOR_HTTP_REQUESTREADER_H

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "simulator/http/ServedRequest.h"

/// Makes a request of the bytes that arrive, in pieces of any length. The head is read by a
/// library, the body is what its length announces.
///
/// Thread safety: none.
class CRequestReader
{
public:
    /// The longest head, bytes.
    static constexpr std::size_t kMostHeadBytes = 16 * 1024;
    /// How many headers a request may have.
    static constexpr std::size_t kMostHeaders = 100;
    /// A body that is announced to be longer is a long one.
    static constexpr std::size_t kLongBodyBytes = 16 * 1024;

    enum class EStage
    {
        Head,   ///< the head has not come whole
        Headed, ///< the head has; nothing of the body is taken before ReadBody()
        Body,   ///< the body has not come whole
        Whole,
        Malformed,      ///< no request, or one whose length is ambiguous
        HeadTooLong,    ///< more than kMostHeadBytes
        TooManyHeaders, ///< more than kMostHeaders
    };

    CRequestReader();
    ~CRequestReader();

    /// Takes bytes in. Those after the end of the request are left out.
    EStage Take(const char* bytes, std::size_t count);
    /// Goes on to the body after the head.
    EStage ReadBody();
    const ServedRequest& Request() const { return m_request; }
    /// Whether what comes next belongs to a body of more than kLongBodyBytes.
    bool IsWithinLongBody() const
    {
        return m_stage == EStage::Body && m_request.body.Announced() > kLongBodyBytes;
    }
    /// Whether the peer sends the body only when it is asked to go on.
    bool IsWaitedFor() const
    {
        return m_stage == EStage::Body && m_wantsToHear && m_request.body.Size() == 0;
    }
    /// The body, to keep; the request has none then.
    CRequestBody TakeBody() { return std::exchange(m_request.body, CRequestBody()); }
    /// Lets go of all that has come. Nothing is read any more.
    void Forget();
    /// How much memory is held, bytes.
    std::size_t Held() const { return m_pending.capacity() + m_request.Held(); }

private:
    struct Parser;

    EStage ReadHead();
    EStage KeepHead();

    std::unique_ptr<Parser> m_parser;
    std::string m_pending; ///< what the parser has not used yet
    ServedRequest m_request;
    EStage m_stage = EStage::Head;
    bool m_wantsToHear = false; ///< that its body is wanted
};

#endif
