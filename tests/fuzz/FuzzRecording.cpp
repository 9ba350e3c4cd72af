// A recording that anybody may have made: it is read to an end that it has a reason for, every
// message belongs to a channel, and nothing is kept that is larger than what has come justifies.
// What it has of links is decoded.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "recording/McapReader.h"
#include "recording/decoding/LinkDecoder.h"
#include "tests/fuzz/FuzzMessages.h"

namespace {

/// A compression that doubles every byte: what comes out is in proportion to what goes in.
bool TakeEverySecond(std::string_view packed, std::string& records)
{
    if (packed.size() != 2 * records.size()) {
        return false;
    }
    for (std::size_t place = 0; place < records.size(); ++place) {
        records[place] = packed[2 * place];
    }
    return true;
}

/// Takes what is written and keeps nothing.
class CNowhere : public CMcapSink
{
public:
    bool Write(std::string_view /*head*/, std::string_view /*data*/) override { return true; }
};

/// Decodes what went over links.
class CDecoding
{
public:
    void Take(const CMcapMessage& message, const CMcapChannel& channel)
    {
        if (channel.messageEncoding != LinkForm::kStreamEncoding) {
            return;
        }
        m_items.Add(message.logTime, static_cast<std::uint16_t>((message.channelId + 1U) / 2U),
                    message.channelId % 2 == 1 ? ELinkDirection::ToService
                                               : ELinkDirection::ToApplication,
                    message.data);
        for (CRecordedItem item; m_items.Next(item);) {
            FuzzMessages::Require(m_decoder.Add(item), "what is decoded can be written");
        }
    }

private:
    CNowhere m_nowhere;
    CMcapWriter m_writer{m_nowhere};
    CLinkItems m_items;
    CLinkDecoder m_decoder{m_writer};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CMcapBytes source({reinterpret_cast<const char*>(data), size});
    CMcapReader reader(source, {{"double", TakeEverySecond}});
    EMcapStep step = reader.Next();
    std::size_t given = 0;
    CDecoding decoding;
    for (; step == EMcapStep::Record; step = reader.Next()) {
        if (reader.Kind() == EMcapRecord::Message) {
            given += reader.Message().data.size();
            FuzzMessages::Require(reader.Channels().count(reader.Message().channelId) == 1,
                                  "a message belongs to a channel that is there");
            decoding.Take(reader.Message(), reader.Channels().at(reader.Message().channelId));
        }
    }
    FuzzMessages::Require(reader.Problem().empty() == (step == EMcapStep::End),
                          "what does not end has a reason, and nothing else has");
    FuzzMessages::Require(given <= size, "no more is given than has come");
    FuzzMessages::Require(reader.Position() <= size, "no more is read than there is");
    FuzzMessages::Require(reader.Next() == step, "an end stays an end");
    return 0;
}
