#include <map>
#include <memory>

#include "recording/LiveFile.h"
#include "recording/decoding/LinkDecoder.h"
#include "tools/navctl/recording/Chunks.h"
#include "tools/navctl/recording/Recording.h"
#include "tools/navctl/recording/RecordingCommand.h"

namespace {

struct CCopyOptions
{
    std::string file;
    std::string target;
    std::string from;
    std::string to;
};

/// A recording that becomes another one. The new file is never put in the place of one that is
/// there; one that cannot be finished is removed.
class CCopy
{
public:
    CCopy(CContext& context, const CCopyOptions& options)
        : m_context(context), m_target(options.target), m_source(options.file)
    {
    }

    ~CCopy()
    {
        if (!m_isFinished) { // also where there was no memory to go on
            m_file.Remove();
        }
    }
    CCopy(const CCopy&) = delete;
    CCopy& operator=(const CCopy&) = delete;

    bool Begin()
    {
        if (!m_source.Problem().empty()) {
            m_context.Fail(kExitUsage, m_source.Problem());
            return false;
        }
        if (!m_file.Create(m_target)) {
            m_context.Fail(kExitCannotWrite, m_file.Problem());
            return false;
        }
        return true;
    }

    CRecording& Source() { return m_source; }
    CLiveFile& File() { return m_file; }

    /// Copies the record at which the source stands.
    void CopyRecord(CMcapWriter& writer)
    {
        const CMcapReader& reader = m_source.Reader();
        CMcapSchema schema;
        CMcapChannel channel;
        CMcapMetadata metadata;
        CMcapAttachment attachment;
        switch (reader.Kind()) {
        case EMcapRecord::Schema:
            ReadContent(reader.Content(), schema);
            writer.AddSchema(schema);
            break;
        case EMcapRecord::Channel:
            ReadContent(reader.Content(), channel);
            writer.AddChannel(channel);
            break;
        case EMcapRecord::Message:
            writer.AddMessage(reader.Message());
            break;
        case EMcapRecord::Metadata:
            ReadContent(reader.Content(), metadata);
            writer.AddMetadata(metadata);
            break;
        case EMcapRecord::Attachment:
            ReadContent(reader.Content(), attachment);
            writer.AddAttachment(attachment);
            break;
        default:
            break;
        }
    }

    /// Ends the new file and reports it.
    void Finish(CMcapWriter& writer)
    {
        const bool isWritten = writer.Finish();
        if (!isWritten) {
            return m_context.Fail(kExitCannotWrite, m_file.Problem());
        }
        if (!FinishReading(m_context, m_source)) {
            return;
        }
        m_isFinished = true;
        const std::uint64_t messages = writer.MessageCount();
        m_context.Print({{"outcome", "done"},
                         {"file", m_target},
                         {"messages", messages},
                         {"bytes", writer.Size()},
                         {"source_bytes", m_source.Reader().Position()}},
                        std::to_string(messages) + " messages written to " + m_target + ", " +
                            std::to_string(writer.Size()) + " bytes from " +
                            std::to_string(m_source.Reader().Position()));
    }

private:
    CContext& m_context;
    std::string m_target;
    CRecording m_source;
    CLiveFile m_file;
    bool m_isFinished = false;
};

void Compress(CContext& context, const CCopyOptions& options)
{
    CCopy copy(context, options);
    if (!copy.Begin()) {
        return;
    }
    CMcapWriter writer(copy.File());
    writer.Begin("", "navctl recording");
    writer.UseChunks(ZstdChunking());
    while (copy.Source().NextRecord() == EMcapStep::Record) {
        copy.CopyRecord(writer);
    }
    copy.Finish(writer);
}

ELinkDirection DirectionOf(const CRecordedItem& item)
{
    return item.fromApplication ? ELinkDirection::ToService : ELinkDirection::ToApplication;
}

/// Copies a span of time, whole messages.
class CCut
{
public:
    CCut(CContext& context, const CCopyOptions& options)
        : m_copy(context, options), m_span(options.from, options.to), m_cut(m_copy.File())
    {
    }

    void Run()
    {
        CRecording& source = m_copy.Source();
        source.Link().HandOn([this](bool isOfLink) { Beside(isOfLink); });
        source.Link().ReadValuesOf([](const CRecordedItem&) { return false; }); // bytes are copied
        CRecordedItem item;
        while (source.NextItem(item) == EMcapStep::Record) {
            Begin();
            if (IsWithin(item.time)) {
                Keep(item);
            } else if (!m_isWithin) {
                Watch(item);
            }
        }
        Begin();
        m_copy.Finish(m_cut.Writer());
    }

    CCopy& Copy() { return m_copy; }

private:
    struct Client
    {
        std::uint64_t number = 0;
        std::string peer;
    };

    bool IsWithin(std::uint64_t time) { return m_span.Has(time, m_copy.Source().Link().Start()); }

    /// Once the source has said what it is.
    void Begin()
    {
        if (m_hasBegun) {
            return;
        }
        m_hasBegun = true;
        const auto& origin = m_copy.Source().Link().Origin();
        const auto entry = [&origin](const char* key) {
            const auto found = origin.find(key);
            return found == origin.end() ? std::string() : found->second;
        };
        m_cut.Begin({entry("library"), entry("program"), entry("process"), entry("started"),
                     entry("side")});
    }

    /// Notes which connections are open where the span begins.
    void Watch(const CRecordedItem& item)
    {
        if (item.kind == ERecorded::State && (item.name == "opened" || item.name == "present")) {
            m_open[item.link] = {item.client, item.value.get<std::string>()};
        } else if (item.kind == ERecorded::State) {
            m_open.erase(item.link);
        }
    }

    void Keep(const CRecordedItem& item)
    {
        if (!m_isWithin) {
            m_isWithin = true;
            for (const auto& [link, client] : m_open) {
                m_cut.State(item.time, link, client.number, ELinkState::Present, client.peer);
            }
        }
        if (item.kind == ERecorded::State) {
            m_cut.State(item.time, item.link, item.client, StateOf(item.name),
                        item.value.get<std::string>());
        } else {
            m_cut.Bytes(item.time, item.link, DirectionOf(item), item.bytes);
        }
    }

    static ELinkState StateOf(const std::string& name)
    {
        if (name == "opened") {
            return ELinkState::Opened;
        }
        if (name == "present") {
            return ELinkState::Present;
        }
        return name == "refused" ? ELinkState::Refused : ELinkState::Closed;
    }

    /// What stands beside the link: its channels have numbers of their own.
    void Beside(bool isOfLink)
    {
        const CMcapReader& reader = m_copy.Source().Reader();
        if (isOfLink || reader.Kind() == EMcapRecord::Metadata) {
            return; // the recording's own is written anew
        }
        Begin();
        const bool isMessage = reader.Kind() == EMcapRecord::Message;
        CMcapChannel channel;
        const bool isLinksChannel = reader.Kind() == EMcapRecord::Channel &&
                                    ReadContent(reader.Content(), channel) &&
                                    channel.id < LinkForm::kFirstOtherChannel;
        if (!isLinksChannel && (!isMessage || IsWithin(reader.Message().logTime))) {
            m_copy.CopyRecord(m_cut.Writer());
        }
    }

    CCopy m_copy;
    CTimeSpan m_span;
    CLinkRecording m_cut;
    bool m_hasBegun = false;
    bool m_isWithin = false;
    std::map<std::uint16_t, Client> m_open;
};

void Cut(CContext& context, const CCopyOptions& options)
{
    const std::string problem = CTimeSpan(options.from, options.to).Problem();
    if (!problem.empty()) {
        return context.Fail(kExitUsage, problem);
    }
    CCut cut(context, options);
    if (cut.Copy().Begin()) {
        cut.Run();
    }
}

/// Whether a record is one that decoding makes, and makes anew.
bool IsDecoded(const CMcapReader& reader)
{
    CMcapSchema schema;
    CMcapChannel channel;
    switch (reader.Kind()) {
    case EMcapRecord::Schema:
        return ReadContent(reader.Content(), schema) && schema.id >= CLinkDecoder::kFirstChannel;
    case EMcapRecord::Channel:
        return ReadContent(reader.Content(), channel) && channel.id >= CLinkDecoder::kFirstChannel;
    case EMcapRecord::Message:
        return reader.Message().channelId >= CLinkDecoder::kFirstChannel;
    default:
        return false;
    }
}

/// Adds a channel an operation and event, in JSON, and what viewers draw.
void Decode(CContext& context, const CCopyOptions& options)
{
    CCopy copy(context, options);
    if (!copy.Begin()) {
        return;
    }
    CMcapWriter writer(copy.File());
    CLinkDecoder decoder(writer);
    CRecording& source = copy.Source();
    writer.Begin("", "navctl recording");
    source.Link().HandOn([&](bool /*isOfLink*/) {
        if (!IsDecoded(source.Reader())) {
            copy.CopyRecord(writer);
        }
    });
    CRecordedItem item;
    while (source.NextItem(item) == EMcapStep::Record) {
        decoder.Add(item);
    }
    decoder.Finish();
    copy.Finish(writer);
}

} // namespace

void AddCopyCommands(CLI::App& group, CContext& context)
{
    const auto options = std::make_shared<CCopyOptions>();
    CLI::App* const cut = group.add_subcommand("cut", "Copies a span of time of a recording");
    CLI::App* const decode = group.add_subcommand(
        "decode", "Adds a channel an operation and event in JSON, and what viewers draw");
    CLI::App* const compress =
        group.add_subcommand("compress", "Makes compressed chunks with indexes of a recording");
    for (CLI::App* const command : {cut, decode, compress}) {
        command->add_option("FILE", options->file, "The recording")->required();
        command->add_option("TARGET", options->target, "The file to write, which is not there yet")
            ->required();
    }
    cut->add_option("--from", options->from, "From then on: seconds since the start, or a time")
        ->type_name("TIME");
    cut->add_option("--to", options->to, "Up to then")->type_name("TIME");
    cut->callback([&context, options] { Cut(context, *options); });
    decode->callback([&context, options] { Decode(context, *options); });
    compress->callback([&context, options] { Compress(context, *options); });
}
