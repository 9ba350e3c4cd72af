#include "recording/RecordingFiles.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "recording/FileSource.h"
#include "recording/RecordingClock.h"
#include "tests/recording/MemorySink.h"

namespace fs = std::filesystem;

namespace {

/// A folder that goes with the test.
class CFolder
{
public:
    CFolder()
    {
        std::string name = (fs::temp_directory_path() / "recording-XXXXXX").string();
        m_path = ::mkdtemp(name.data());
    }
    ~CFolder() { fs::remove_all(m_path); }
    std::string operator/(const std::string& name) const { return (m_path / name).string(); }
    std::size_t FileCount() const
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_path), fs::directory_iterator()));
    }
    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

CReadBack ReadFile(const std::string& path)
{
    CFileSource source(path);
    EXPECT_EQ("", source.Problem()) << path;
    CMcapReader reader(source);
    return ReadBack(reader);
}

CRecordingOrigin Origin()
{
    return {"library", "program", "1", "", "application"};
}

} // namespace

TEST(RecordingLimits, AreReadOrRefused)
{
    CRecordingLimits limits;
    EXPECT_EQ(100'000'000U, limits.fileBytes);
    EXPECT_EQ(10U, limits.files);
    ASSERT_TRUE(ReadRecordingLimits("5M", limits));
    EXPECT_EQ(5'000'000U, limits.fileBytes);
    EXPECT_EQ(10U, limits.files);
    ASSERT_TRUE(ReadRecordingLimits("4096,3", limits));
    EXPECT_EQ(4096U, limits.fileBytes);
    EXPECT_EQ(3U, limits.files);
    ASSERT_TRUE(ReadRecordingLimits("2G,10000", limits));
    for (const char* const text :
         {"", "x", "4095", "0", "-1", "5T", "5M,", "5M,0", "5M,10001", "5M,3x", "5MM", " 5M",
          "5M ,3", "1001G", "18446744073709551615k", "99999999999999999999"}) {
        EXPECT_FALSE(ReadRecordingLimits(text, limits)) << text;
        EXPECT_EQ(2'000'000'000U, limits.fileBytes) << text;
    }
}

TEST(RecordingFiles, AreReadableForTheirUserAloneAndNeverReplaceAFile)
{
    const CFolder folder;
    const std::string path = folder / "a.mcap";
    {
        CRecordingFiles files(Origin(), {});
        ASSERT_TRUE(files.Begin(path, "")) << files.Problem();
    }
    struct stat status = {};
    ASSERT_EQ(0, ::stat(path.c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U);
    EXPECT_EQ(EMcapStep::End, ReadFile(path).end);
    CRecordingFiles again(Origin(), {});
    EXPECT_FALSE(again.Begin(path, ""));
    EXPECT_NE(std::string::npos, again.Problem().find("File exists")) << again.Problem();
    fs::create_symlink(folder / "nowhere", folder / "link.mcap");
    EXPECT_FALSE(again.Begin(folder / "link.mcap", ""));
    EXPECT_FALSE(fs::exists(folder / "nowhere"));
}

TEST(RecordingFiles, GoOnInFurtherFilesOfWhichTheOldestGoes)
{
    const CFolder folder;
    CRecordingFiles files(Origin(), {5000, 3});
    ASSERT_TRUE(files.Begin(folder / "a.mcap", "")) << files.Problem();
    files.State(ELinkState::Opened, "somebody");
    for (int count = 0; count < 200; ++count) {
        files.Bytes(ELinkDirection::ToService, std::string(100, static_cast<char>(count)));
        files.BetweenMessages();
    }
    ASSERT_TRUE(files.IsOn()) << files.Problem();
    EXPECT_EQ(3U, folder.FileCount());
    EXPECT_FALSE(fs::exists(folder / "a.mcap"));
    files.End();
    // The newest begins with the connection that there is, and ends with what came last.
    std::string newest;
    for (const auto& entry : fs::directory_iterator(folder.Path())) {
        const std::string name = entry.path().string();
        newest = name.size() > newest.size() || name > newest ? name : newest;
        EXPECT_LT(fs::file_size(entry), 7000U);
        EXPECT_EQ(EMcapStep::End, ReadFile(name).end);
    }
    const CReadBack found = ReadFile(newest);
    EXPECT_NE(std::string::npos, found.messages.at(0).find("\"present\"")) << found.messages[0];
    EXPECT_EQ(std::string(100, static_cast<char>(199)), found.messages.back());
}

TEST(RecordingFiles, GoOnInTheMidstOfAMessageThatDoesNotEnd)
{
    const CFolder folder;
    CRecordingFiles files(Origin(), {5000, 3});
    ASSERT_TRUE(files.Begin(folder / "a.mcap", ""));
    for (int count = 0; count < 100; ++count) {
        files.Bytes(ELinkDirection::ToService, std::string(1000, 'x'));
    }
    EXPECT_EQ(3U, folder.FileCount());
}

TEST(RecordingFiles, LeaveAFileAloneThatSomebodyHasPutInPlaceOfTheOldest)
{
    const CFolder folder;
    CRecordingFiles files(Origin(), {4096, 1});
    ASSERT_TRUE(files.Begin(folder / "a.mcap", ""));
    fs::rename(folder / "a.mcap", folder / "kept.mcap");
    std::ofstream(folder / "a.mcap") << "another's";
    files.Bytes(ELinkDirection::ToService, std::string(5000, 'x'));
    files.BetweenMessages();
    EXPECT_TRUE(files.IsOn());
    EXPECT_EQ(9U, fs::file_size(folder / "a.mcap"));
}

TEST(RecordingFiles, EndWithoutASignalAtTheLimitOfAFilesSize)
{
    const CFolder folder;
    const std::string path = folder / "a.mcap";
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_DFL);
        CRecordingFiles files(Origin(), {});
        const bool isBegun = files.Begin(path, "");
        files.Bytes(ELinkDirection::ToService, std::string(2000, 'x'));
        const rlimit limit{5000, 5000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        // The time for which a limit counts as it was.
        for (const auto end = RecordingTime() + 2'000'000; RecordingTime() < end;) {
        }
        for (int count = 0; count < 100; ++count) {
            files.Bytes(ELinkDirection::ToService, std::string(100, 'x'));
            files.Bytes(ELinkDirection::ToApplication, std::string(100, 'y'));
        }
        const bool isOver = !files.IsOn() && !files.Problem().empty();
        ::_exit(isBegun && isOver ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    EXPECT_EQ(0, WEXITSTATUS(status));
    const CReadBack found = ReadFile(path);
    EXPECT_EQ(EMcapStep::Cut, found.end);
    EXPECT_GT(found.messages.size(), 10U);
}

TEST(RecordingFiles, EndOnAFullDiskBehindTheLastWholeRecord)
{
    CLiveFile file;
    EXPECT_FALSE(file.Create("/dev/full")); // is there already
    CRecordingFiles files(Origin(), {});
    EXPECT_FALSE(files.Begin("/proc/a.mcap", ""));
    EXPECT_NE("", files.Problem());
    files.Bytes(ELinkDirection::ToService, "x");
    EXPECT_FALSE(files.IsOn());
}

TEST(RecordingFiles, NoticeThatTheirFileHasGoneOrWasChanged)
{
    const CFolder folder;
    CLiveFile file;
    ASSERT_TRUE(file.Create(folder / "a"));
    ASSERT_TRUE(file.Write("head", "data"));
    EXPECT_TRUE(file.IsStillThere());
    ASSERT_EQ(0, ::truncate((folder / "a").c_str(), 3));
    EXPECT_FALSE(file.IsStillThere());
    EXPECT_NE(std::string::npos, file.Problem().find("changed")) << file.Problem();
    fs::remove(folder / "a");
    EXPECT_FALSE(file.IsStillThere());
    EXPECT_NE(std::string::npos, file.Problem().find("removed")) << file.Problem();
}

TEST(RecordingFiles, EndWhereAnotherProgramHasCutTheirFileWhileTheyWrite)
{
    for (const long left : {300L, 0L}) {
        const CFolder folder;
        CRecordingFiles files(Origin(), {});
        ASSERT_TRUE(files.Begin(folder / "a.mcap", "somebody"));
        for (int count = 0; count < 100; ++count) {
            files.Bytes(ELinkDirection::ToService, std::string(100, 'x'));
        }
        ASSERT_TRUE(files.IsOn());
        ASSERT_EQ(0, ::truncate((folder / "a.mcap").c_str(), left));
        // Far less than a second: no record may make the size right again.
        for (const auto end = RecordingTime() + 100'000'000; RecordingTime() < end;) {
            files.Bytes(ELinkDirection::ToService, std::string(100, 'x'));
        }
        EXPECT_FALSE(files.IsOn());
        EXPECT_NE(std::string::npos, files.Problem().find("changed")) << files.Problem();
    }
}

TEST(RecordingFiles, NoticeAtTheirEndThatAnotherProgramHasCutThem)
{
    const CFolder folder;
    CRecordingFiles files(Origin(), {});
    ASSERT_TRUE(files.Begin(folder / "a.mcap", "somebody"));
    files.Bytes(ELinkDirection::ToService, std::string(1000, 'x'));
    ASSERT_EQ(0, ::truncate((folder / "a.mcap").c_str(), 300));
    files.Bytes(ELinkDirection::ToService, std::string(1000, 'x'));
    files.End();
    EXPECT_NE(std::string::npos, files.Problem().find("changed")) << files.Problem();
}

TEST(RecordingClock, NeverGoesBackAndTellsTheTime)
{
    const std::uint64_t first = RecordingTime();
    EXPECT_LE(first, RecordingTime());
    EXPECT_GT(first, 1'700'000'000'000'000'000U);
    EXPECT_EQ("2026-11-22T10:15:30Z", RecordingTimeText(1'795'342'530'000'000'000U));
}
