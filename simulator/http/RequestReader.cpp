#include "simulator/http/RequestReader.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

namespace http = boost::beast::http;

namespace {

constexpr unsigned kHttp11 = 11;

} // namespace

struct CRequestReader::Parser
{
    http::request_parser<http::empty_body> head;
};

CRequestReader::CRequestReader() : m_parser(std::make_unique<Parser>())
{
    m_parser->head.header_limit(kMostHeadBytes);
    // Whether a body is too long is decided by whoever looks at the head.
    m_parser->head.body_limit(std::numeric_limits<std::uint64_t>::max());
}

CRequestReader::~CRequestReader() = default;

CRequestReader::EStage CRequestReader::Take(const char* bytes, std::size_t count)
{
    if (m_stage == EStage::Head || m_stage == EStage::Headed) {
        m_pending.append(bytes, count);
        m_stage = m_stage == EStage::Head ? ReadHead() : EStage::Headed;
    } else if (m_stage == EStage::Body) {
        m_request.body.Append(bytes, count);
        m_stage = m_request.body.IsWhole() ? EStage::Whole : EStage::Body;
    }
    return m_stage;
}

CRequestReader::EStage CRequestReader::ReadHead()
{
    boost::system::error_code error;
    const std::size_t used = m_parser->head.put(boost::asio::buffer(m_pending), error);
    m_pending.erase(0, used);
    if (error == http::error::header_limit) {
        return EStage::HeadTooLong;
    }
    if (error && error != http::error::need_more) {
        return EStage::Malformed;
    }
    if (!m_parser->head.is_header_done()) {
        return EStage::Head;
    }
    return KeepHead();
}

CRequestReader::EStage CRequestReader::KeepHead()
{
    const auto& head = m_parser->head.get();
    const auto count = static_cast<std::size_t>(std::distance(head.begin(), head.end()));
    if (count > kMostHeaders) {
        m_parser.reset();
        return EStage::TooManyHeaders;
    }
    m_request.headers.reserve(count);
    m_request.method = std::string(head.method_string());
    m_request.path = std::string(head.target());
    m_request.path.resize(std::min(m_request.path.size(), m_request.path.find('?')));
    for (const auto& field : head) {
        m_request.headers.emplace_back(LowerCase(std::string(field.name_string())),
                                       std::string(field.value()));
    }
    // One of HTTP 1.0 would take that for its answer.
    m_wantsToHear = head.version() >= kHttp11 &&
                    LowerCase(m_request.Only("expect").value_or("")) == "100-continue";
    m_request.body =
        CRequestBody(static_cast<std::size_t>(m_parser->head.content_length().value_or(0)));
    m_parser.reset();
    return EStage::Headed;
}

void CRequestReader::Forget()
{
    m_parser.reset();
    // What is assigned an empty text keeps its memory.
    const std::string pending = std::exchange(m_pending, {});
    const ServedRequest request = std::exchange(m_request, ServedRequest());
    m_stage = EStage::Whole;
}

CRequestReader::EStage CRequestReader::ReadBody()
{
    m_stage = EStage::Body;
    std::string pending;
    pending.swap(m_pending);
    return Take(pending.data(), pending.size());
}
