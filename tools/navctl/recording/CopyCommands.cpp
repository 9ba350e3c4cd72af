#include <memory>

#include "recording/LiveFile.h"
#include "recording/decoding/LinkDecoder.h"
#include "recording/reading/Chunks.h"
#include "recording/reading/RecordingCut.h"
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
        CopyRecord(copy.Source().Reader(), writer);
    }
    copy.Finish(writer);
}

void Cut(CContext& context, const CCopyOptions& options)
{
    const std::string problem = CTimeSpan(options.from, options.to).Problem();
    if (!problem.empty()) {
        return context.Fail(kExitUsage, problem);
    }
    CCopy copy(context, options);
    if (!copy.Begin()) {
        return;
    }
    CTimeSpan span(options.from, options.to);
    CRecording& source = copy.Source();
    CRecordingCut cut(
        source.Reader(), source.Link(), copy.File(),
        [&span, &source](std::uint64_t time) { return span.Has(time, source.Link().Start()); });
    CRecordedItem item;
    while (source.NextItem(item) == EMcapStep::Record) {
        cut.Add(item);
    }
    cut.Begin();
    copy.Finish(cut.Writer());
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
            CopyRecord(source.Reader(), writer);
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
