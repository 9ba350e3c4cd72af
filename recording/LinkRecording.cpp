#include "recording/LinkRecording.h"

#include <utility>

namespace {

const char* const kStateSchema =
    R"({"title":"kestrove.LinkState","type":"object","properties":{"link":{"type":"integer"},)"
    R"("client":{"type":"integer"},"state":{"type":"string"},"text":{"type":"string"}}})";

const char* NameOf(ELinkState state)
{
    switch (state) {
    case ELinkState::Opened:
        return "opened";
    case ELinkState::Present:
        return "present";
    case ELinkState::Refused:
        return "refused";
    default:
        return "closed";
    }
}

const char* NameOf(ELinkDirection direction)
{
    return direction == ELinkDirection::ToService ? "to_service" : "to_application";
}

CMcapChannel StreamChannel(std::uint16_t link, ELinkDirection direction)
{
    const std::string number = std::to_string(link);
    return {LinkChannel(link, direction),
            0,
            std::string(LinkForm::kStateTopic) + "/" + number + "/" + NameOf(direction),
            LinkForm::kStreamEncoding,
            {{"direction", NameOf(direction)}, {"link", number}}};
}

} // namespace

std::uint16_t LinkChannel(std::uint16_t link, ELinkDirection direction)
{
    return static_cast<std::uint16_t>(2 * link - (direction == ELinkDirection::ToService ? 1 : 0));
}

std::string JsonText(std::string_view text)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string json = "\"";
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\') {
            json += '\\';
            json += character;
        } else if (code < 0x20 || code >= 0x7F) {
            json += "\\u00";
            json += kDigits[code >> 4U];
            json += kDigits[code & 0xFU];
        } else {
            json += character;
        }
    }
    return json + '"';
}

bool CLinkRecording::Begin(const CRecordingOrigin& origin)
{
    m_writer.Begin("", origin.library);
    CMcapMetadata metadata{LinkForm::kMetadataName,
                           {{"version", LinkForm::kVersion},
                            {"library", origin.library},
                            {"program", origin.program},
                            {"process", origin.process},
                            {"started", origin.started},
                            {"side", origin.side}}};
    if (!origin.run.empty()) {
        metadata.entries["run"] = origin.run;
    }
    m_writer.AddMetadata(metadata);
    m_writer.AddSchema({1, "kestrove.LinkState", "jsonschema", kStateSchema});
    return m_writer.AddChannel({LinkForm::kStateChannel, 1, LinkForm::kStateTopic, "json", {}});
}

bool CLinkRecording::State(std::uint64_t time, std::uint16_t link, std::uint64_t client,
                           ELinkState state, std::string_view text)
{
    const std::string json = "{\"link\":" + std::to_string(link) +
                             ",\"client\":" + std::to_string(client) + ",\"state\":\"" +
                             NameOf(state) + "\",\"text\":" + JsonText(text) + "}";
    return m_writer.AddMessage({LinkForm::kStateChannel, m_states++, time, time, json});
}

/// Makes sure that a link's channels are there.
bool CLinkRecording::Declare(std::uint16_t link)
{
    if (link >= m_links.size()) {
        m_links.resize(std::size_t{link} + 1);
    }
    if (m_links[link].isDeclared) {
        return true;
    }
    m_links[link].isDeclared = true;
    m_writer.AddChannel(StreamChannel(link, ELinkDirection::ToService));
    return m_writer.AddChannel(StreamChannel(link, ELinkDirection::ToApplication));
}

bool CLinkRecording::Bytes(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
                           std::string_view bytes)
{
    if (!Declare(link)) {
        return false;
    }
    std::uint32_t& count = m_links[link].messages[direction == ELinkDirection::ToService ? 0 : 1];
    return m_writer.AddMessage({LinkChannel(link, direction), count++, time, time, bytes});
}
