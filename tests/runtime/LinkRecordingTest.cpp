#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "recording/FileSource.h"
#include "recording/LinkRecording.h"
#include "tests/recording/MemorySink.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/RawPeer.h"

namespace fs = std::filesystem;

namespace {

/// A folder that goes with the test, and an environment that asks for nothing.
class LinkRecorder : public testing::Test
{
protected:
    LinkRecorder()
    {
        std::string name = (fs::temp_directory_path() / "link-XXXXXX").string();
        m_folder = ::mkdtemp(name.data());
    }
    ~LinkRecorder() override
    {
        ::unsetenv("KESTROVE_RECORD");
        ::unsetenv("KESTROVE_RECORD_LIMIT");
        fs::remove_all(m_folder);
    }
    std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    std::vector<std::string> Files() const
    {
        std::vector<std::string> files;
        for (const auto& entry : fs::directory_iterator(m_folder)) {
            files.push_back(entry.path().string());
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    fs::path m_folder;
};

/// What a recording has.
struct CFound
{
    std::string sent;
    std::string received;
    std::vector<std::string> states;
    EMcapStep end = EMcapStep::Record;
    std::map<std::string, std::string> origin;
};

CFound Look(const std::string& path)
{
    CFileSource source(path);
    EXPECT_EQ("", source.Problem()) << path;
    CMcapReader reader(source);
    CFound found;
    while ((found.end = reader.Next()) == EMcapStep::Record) {
        const std::string data(reader.Message().data);
        if (reader.Kind() == EMcapRecord::Metadata) {
            CMcapMetadata metadata;
            EXPECT_TRUE(ReadContent(reader.Content(), metadata));
            found.origin = metadata.entries;
        } else if (reader.Kind() != EMcapRecord::Message) {
            continue;
        } else if (reader.Message().channelId == LinkForm::kStateChannel) {
            found.states.push_back(data);
        } else if (reader.Message().channelId == LinkChannel(1, ELinkDirection::ToService)) {
            found.sent += data;
        } else {
            found.received += data;
        }
    }
    return found;
}

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// 7 in more bytes than it needs, which a number of a message does not take.
const std::string kSeven("\xd3\0\0\0\0\0\0\0\x07", 9);

int Sevens(const std::string& bytes)
{
    int count = 0;
    for (auto at = bytes.find(kSeven); at != std::string::npos; at = bytes.find(kSeven, at + 1)) {
        ++count;
    }
    return count;
}

/// Answers every request with 7 and keeps what came.
struct CKeepingPeer
{
    std::string came;
    CRawPeer peer{[this](CRawLink& link) {
                      while (true) {
                          const CRawMessage request = link.Read();
                          came += request.bytes;
                          link.Reply(request, kSeven);
                      }
                  },
                  0};
};

} // namespace

TEST_F(LinkRecorder, KeepsTheBytesAsTheyWentAndWhatBecameOfTheConnection)
{
    CKeepingPeer service;
    {
        MPISocketClientC client(false);
        ASSERT_TRUE(client.StartRecording(Path("a.mcap"))) << client.LastRecordingError();
        ASSERT_TRUE(client.Connect(kHost, service.peer.Port(), -1));
        ASSERT_EQ(7, Call(client, "EngageSteering"));
        ASSERT_EQ(7, Call(client, "StopNavigation"));
        EXPECT_EQ("", client.LastRecordingError());
    }
    const CFound found = Look(Path("a.mcap"));
    EXPECT_EQ(EMcapStep::End, found.end);
    EXPECT_EQ(service.came, found.sent);
    EXPECT_EQ(2, Sevens(found.received));
    ASSERT_EQ(2U, found.states.size());
    EXPECT_TRUE(Has(found.states[0], "\"opened\"")) << found.states[0];
    EXPECT_TRUE(Has(found.states[0], "127.0.0.1 port")) << found.states[0];
    EXPECT_TRUE(Has(found.states[1], "\"closed\"")) << found.states[1];
    EXPECT_EQ("application", found.origin.at("side"));
    EXPECT_EQ(std::to_string(::getpid()), found.origin.at("process"));
}

TEST_F(LinkRecorder, BeginsAndEndsInTheMidstOfAConnection)
{
    CKeepingPeer service;
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, service.peer.Port(), -1));
    ASSERT_EQ(7, Call(client, "before"));
    ASSERT_TRUE(client.StartRecording(Path("a.mcap")));
    ASSERT_EQ(7, Call(client, "during"));
    client.StopRecording();
    ASSERT_EQ(7, Call(client, "after"));
    const CFound found = Look(Path("a.mcap"));
    EXPECT_EQ(EMcapStep::End, found.end);
    EXPECT_TRUE(Has(found.states.at(0), "\"present\""));
    EXPECT_TRUE(Has(found.sent, "during"));
    EXPECT_FALSE(Has(found.sent, "before"));
    EXPECT_FALSE(Has(found.sent, "after"));
}

TEST_F(LinkRecorder, WritesAFileAConnectionObjectWhereTheEnvironmentSaysSo)
{
    ::setenv("KESTROVE_RECORD", m_folder.c_str(), 1);
    CKeepingPeer service;
    {
        MPISocketClientC first(false);
        MPISocketClientC second(false);
        MPISocketClientC unused(false);
        EXPECT_FALSE(second.Connect(kHost, 1, 100)); // nobody listens there
        ASSERT_TRUE(first.Connect(kHost, service.peer.Port(), -1));
        ASSERT_EQ(7, Call(first, "EngageSteering"));
        ASSERT_TRUE(first.Connect(kHost, service.peer.Port(), -1));
        ASSERT_EQ(7, Call(first, "again"));
    }
    const std::vector<std::string> files = Files();
    ASSERT_EQ(2U, files.size());
    for (const std::string& file : files) {
        EXPECT_TRUE(Has(file, "-" + std::to_string(::getpid()) + "-")) << file;
        struct stat status = {};
        ASSERT_EQ(0, ::stat(file.c_str(), &status));
        EXPECT_EQ(0600U, status.st_mode & 07777U);
        const CFound found = Look(file);
        EXPECT_EQ(EMcapStep::End, found.end);
        if (found.sent.empty()) {
            EXPECT_TRUE(Has(found.states.at(0), "\"refused\"")) << found.states[0];
        } else {
            EXPECT_TRUE(Has(found.sent, "EngageSteering") && Has(found.sent, "again"));
            EXPECT_EQ(4U, found.states.size());
        }
    }
}

TEST_F(LinkRecorder, NeverOverwritesAFileAndSaysSo)
{
    std::ofstream(Path("a.mcap")) << "kept";
    MPISocketClientC client(false);
    EXPECT_FALSE(client.StartRecording(Path("a.mcap")));
    EXPECT_TRUE(Has(client.LastRecordingError(), "File exists")) << client.LastRecordingError();
    EXPECT_EQ(4U, fs::file_size(Path("a.mcap")));
    ASSERT_TRUE(client.StartRecording(Path("b.mcap")));
    EXPECT_EQ("", client.LastRecordingError());
}

TEST_F(LinkRecorder, LeavesTheOperationsAloneWhereNothingCanBeWritten)
{
    ::setenv("KESTROVE_RECORD", Path("nowhere").c_str(), 1);
    CKeepingPeer service;
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, service.peer.Port(), -1));
    EXPECT_TRUE(Has(client.LastRecordingError(), "No such file")) << client.LastRecordingError();
    EXPECT_EQ(7, Call(client, "EngageSteering"));
    EXPECT_EQ(ELinkError::None, client.LastError().code);
}

TEST_F(LinkRecorder, EndsWhenItsFolderVanishesAndTheOperationsGoOn)
{
    CKeepingPeer service;
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, service.peer.Port(), -1));
    fs::create_directory(m_folder / "gone");
    ASSERT_TRUE(client.StartRecording(Path("gone/a.mcap")));
    fs::remove_all(m_folder / "gone");
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (client.LastRecordingError().empty() && std::chrono::steady_clock::now() < end) {
        ASSERT_EQ(7, Call(client, "EngageSteering"));
    }
    EXPECT_TRUE(Has(client.LastRecordingError(), "removed")) << client.LastRecordingError();
    EXPECT_EQ(7, Call(client, "EngageSteering"));
}

TEST_F(LinkRecorder, GoesOnInFurtherFilesBetweenTwoMessages)
{
    ::setenv("KESTROVE_RECORD_LIMIT", "5000,3", 1);
    CKeepingPeer service;
    {
        MPISocketClientC client(false);
        ASSERT_TRUE(client.Connect(kHost, service.peer.Port(), -1));
        ASSERT_TRUE(client.StartRecording(Path("a.mcap")));
        for (int count = 0; count < 300; ++count) {
            ASSERT_EQ(7, Call(client, "EngageSteering"));
        }
        EXPECT_EQ("", client.LastRecordingError());
    }
    const std::vector<std::string> files = Files();
    ASSERT_EQ(3U, files.size());
    for (const std::string& file : files) {
        const CFound found = Look(file);
        EXPECT_EQ(EMcapStep::End, found.end);
        EXPECT_EQ('\x94', found.sent.at(0));     // the start of a request
        EXPECT_EQ('\x94', found.received.at(0)); // and of a reply
        EXPECT_TRUE(Has(found.states.at(0), "\"present\""));
    }
}

TEST_F(LinkRecorder, SaysThatALimitIsNoneAndRecordsAllTheSame)
{
    ::setenv("KESTROVE_RECORD_LIMIT", "much", 1);
    MPISocketClientC client(false);
    EXPECT_TRUE(client.StartRecording(Path("a.mcap")));
    EXPECT_TRUE(Has(client.LastRecordingError(), "KESTROVE_RECORD_LIMIT"));
}

TEST_F(LinkRecorder, HasEveryCompleteRecordWhereTheProgramIsKilled)
{
    CKeepingPeer service;
    const std::string path = Path("a.mcap");
    const pid_t child = ::fork();
    if (child == 0) {
        MPISocketClientC client(false);
        client.Connect(kHost, service.peer.Port(), -1);
        client.StartRecording(path);
        for (int count = 0; count < 50; ++count) {
            static_cast<void>(Call(client, "EngageSteering"));
        }
        ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    const CFound found = Look(path);
    EXPECT_EQ(EMcapStep::Cut, found.end);
    EXPECT_EQ(service.came, found.sent);
    EXPECT_EQ(50, Sevens(found.received));
}

TEST_F(LinkRecorder, OfAForkedChildWritesAFileOfItsOwn)
{
    for (const bool byEnvironment : {false, true}) {
        if (byEnvironment) {
            ::setenv("KESTROVE_RECORD", m_folder.c_str(), 1);
        }
        CKeepingPeer service;
        std::vector<std::string> before = Files();
        MPISocketClientC client(true);
        if (!byEnvironment) {
            ASSERT_TRUE(client.StartRecording(Path("a.mcap")));
        }
        ASSERT_TRUE(client.Connect(kHost, service.peer.Port(), -1));
        ASSERT_EQ(7, Call(client, "ofParent"));
        const pid_t child = ::fork();
        if (child == 0) {
            const bool isFine = !client.Connect(kHost, 1, 100); // nobody listens there
            client.StopRecording();
            ::_exit(isFine && client.LastRecordingError().empty() ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(child, ::waitpid(child, &status, 0));
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        ASSERT_EQ(7, Call(client, "ofParentAgain"));
        client.StopRecording();
        ASSERT_EQ(before.size() + 2, Files().size());
        for (const std::string& file : Files()) {
            if (std::count(before.begin(), before.end(), file) != 0) {
                continue;
            }
            const CFound found = Look(file);
            const bool isChilds = Has(file, std::to_string(child));
            EXPECT_EQ(EMcapStep::End, found.end) << file;
            EXPECT_EQ(!isChilds, Has(found.sent, "ofParentAgain")) << file;
            EXPECT_EQ(std::to_string(isChilds ? child : ::getpid()), found.origin.at("process"));
        }
    }
}

TEST_F(LinkRecorder, OfAChildThatEndsAtOnceLeavesTheParentsFileAlone)
{
    CKeepingPeer service;
    {
        MPISocketClientC client(false);
        ASSERT_TRUE(client.StartRecording(Path("a.mcap")));
        ASSERT_TRUE(client.Connect(kHost, service.peer.Port(), -1));
        const pid_t child = ::fork();
        if (child == 0) {
            client.StopRecording();
            client.Close();
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(child, ::waitpid(child, &status, 0));
        ASSERT_EQ(7, Call(client, "EngageSteering"));
    }
    EXPECT_EQ(1U, Files().size());
    const CFound found = Look(Path("a.mcap"));
    EXPECT_EQ(EMcapStep::End, found.end);
    EXPECT_TRUE(Has(found.sent, "EngageSteering"));
}

TEST_F(LinkRecorder, RaisesNoSignalAtTheLimitOfAFilesSize)
{
    CKeepingPeer service;
    const std::string path = Path("a.mcap");
    const pid_t child = ::fork();
    if (child == 0) {
        MPISocketClientC client(false);
        const bool isStarted = client.StartRecording(path);
        const rlimit limit{3000, 3000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        bool isFine = isStarted && client.Connect(kHost, service.peer.Port(), -1);
        for (int count = 0; count < 100; ++count) {
            isFine = isFine && Call(client, "EngageSteering") == 7;
        }
        ::_exit(isFine && !client.LastRecordingError().empty() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(EMcapStep::Cut, Look(path).end);
}
