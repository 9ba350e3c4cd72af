#include "simulator/settings/SettingsSaver.h"

#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "tests/simulator/Directory.h"

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point InGoodTime()
{
    return Clock::now() + std::chrono::seconds(20);
}

KeptValues LookAhead(double seconds)
{
    return {{"lookahead_time", seconds}};
}

/// Takes the lines that a saver logs.
class CReportedLines
{
public:
    CSettingsSaver::Report Report()
    {
        return [this](const std::string& line) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_lines.push_back(line);
            m_changed.notify_all();
        };
    }
    /// Waits for so many lines.
    std::vector<std::string> Wait(std::size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_until(lock, InGoodTime(), [&] { return m_lines.size() >= count; });
        return m_lines;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_lines;
};

/// A saver of a file in a directory of its own.
class SavedSettings
{
public:
    explicit SavedSettings(const KeptValues& saved = {})
    {
        auto file = std::make_unique<CStateFile>(Path());
        EXPECT_EQ("", file->Open());
        if (!saved.empty()) {
            EXPECT_EQ("", file->Save(saved));
        }
        m_saver = std::make_unique<CSettingsSaver>(std::move(file), saved, lines.Report());
    }
    std::string Path() const { return m_directory.File("state.json"); }
    CSettingsSaver& Saver() { return *m_saver; }
    /// Which file it is, a new one after each save.
    ino_t File() const
    {
        struct stat file = {};
        return ::stat(Path().c_str(), &file) == 0 ? file.st_ino : 0;
    }
    std::string Text() const { return m_directory.Read("state.json"); }
    /// Removes the file, or one beside it.
    void Remove(const std::string& name = "state.json") const
    {
        std::filesystem::remove(m_directory.File(name));
    }
    bool WaitForFile(const std::string& name) const
    {
        const auto deadline = InGoodTime();
        while (!std::filesystem::exists(m_directory.File(name))) {
            if (Clock::now() > deadline) {
                return false;
            }
        }
        return true;
    }
    bool WaitForText(const std::string& part) const
    {
        const auto deadline = InGoodTime();
        while (Text().find(part) == std::string::npos) {
            if (Clock::now() > deadline) {
                return false;
            }
        }
        return true;
    }

    CReportedLines lines;

private:
    Directory m_directory;
    std::unique_ptr<CSettingsSaver> m_saver;
};

TEST(SettingsSaver, SavesByItself)
{
    SavedSettings settings;

    settings.Saver().Keep(LookAhead(2.5));

    EXPECT_TRUE(settings.WaitForText("2.5"));
    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));
    EXPECT_TRUE(settings.lines.Wait(0).empty());
}

TEST(SettingsSaver, SavesTheLastOfManyAtTheEndAndLetsTheFileGo)
{
    SavedSettings settings;
    for (int change = 0; change < 100000; ++change) {
        settings.Saver().Keep(LookAhead(change));
    }

    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));

    EXPECT_NE(std::string::npos, settings.Text().find("99999"));
    CStateFile next(settings.Path());
    EXPECT_EQ("", next.Open());
}

TEST(SettingsSaver, SavesAtMostTenTimesASecond)
{
    SavedSettings settings;
    int files = 0;
    ino_t last = settings.File();
    const auto start = Clock::now();
    const auto deadline = InGoodTime();
    // For a second, and until a slow disk has two.
    const auto goesOn = [&] {
        const auto now = Clock::now();
        return now - start < std::chrono::seconds(1) || (files < 2 && now < deadline);
    };
    for (int change = 0; goesOn(); ++change) {
        settings.Saver().Keep(LookAhead(change));
        const ino_t now = settings.File();
        files += now != last ? 1 : 0;
        last = now;
    }
    const double tenths = std::chrono::duration<double>(Clock::now() - start).count() * 10.0;
    EXPECT_GE(files, 2);
    EXPECT_LE(files, tenths + 1.0);
    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));
}

TEST(SettingsSaver, WritesNothingThatTheFileHasAlready)
{
    SavedSettings settings(LookAhead(1.5));
    const ino_t file = settings.File();

    settings.Saver().Keep(LookAhead(1.5));

    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));
    EXPECT_EQ(file, settings.File());
}

TEST(SettingsSaver, WritesAFileAnewThatSomebodyHasRemoved)
{
    SavedSettings settings(LookAhead(1.5));
    settings.Remove();

    EXPECT_TRUE(settings.WaitForText("1.5"));

    settings.Remove();
    settings.Saver().Keep(LookAhead(1.5));
    EXPECT_TRUE(settings.WaitForText("1.5"));
    settings.Remove();
    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));
    EXPECT_NE(std::string::npos, settings.Text().find("1.5"));
    EXPECT_TRUE(settings.lines.Wait(0).empty());
}

TEST(SettingsSaver, MakesTheLockAnewThatSomebodyHasRemoved)
{
    SavedSettings settings;
    settings.Remove(".state.json.lock");

    EXPECT_TRUE(settings.WaitForFile(".state.json.lock"));

    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));
    EXPECT_EQ(0u, settings.File()); // nothing was to be kept
}

/// Lets no file of this process have more than a few bytes, as on a full disk.
class FullDisk
{
public:
    FullDisk() : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit few{5, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &few);
    }
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    struct rlimit m_before = {};
    void (*m_handler)(int);
};

TEST(SettingsSaver, TriesAgainAndTellsOnceEachThatItCannotAndThatItCan)
{
    SavedSettings settings(LookAhead(1.5));
    {
        const FullDisk full;
        settings.Saver().Keep(LookAhead(2.5));
        settings.lines.Wait(1);
        // What the file had before is saved too, since nobody knows what it has now.
        settings.Saver().Keep(LookAhead(3.5));
    }
    const std::vector<std::string> lines = settings.lines.Wait(2);

    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("cannot write the state file " + settings.Path() + ": File too large", lines[0]);
    EXPECT_EQ("the state file " + settings.Path() + " is written again", lines[1]);
    EXPECT_TRUE(settings.WaitForText("3.5"));
    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));
}

TEST(SettingsSaver, TriesOnceMoreAtTheEnd)
{
    SavedSettings settings(LookAhead(1.5));
    {
        const FullDisk full;
        settings.Saver().Keep(LookAhead(2.5));
        ASSERT_EQ(1u, settings.lines.Wait(1).size());
        while (settings.Saver().State() == EKeeping::Pending) {
            std::this_thread::yield();
        }
        EXPECT_EQ(EKeeping::Failing, settings.Saver().State());
    }
    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));

    EXPECT_EQ(EKeeping::Saved, settings.Saver().State());
    EXPECT_NE(std::string::npos, settings.Text().find("2.5"));
}

TEST(SettingsSaver, EndsWithoutHavingSavedWhereThatIsImpossible)
{
    SavedSettings settings(LookAhead(1.5));
    const FullDisk full;
    settings.Saver().Keep(LookAhead(2.5));

    EXPECT_TRUE(settings.Saver().Finish(InGoodTime()));

    EXPECT_EQ(1u, settings.lines.Wait(1).size());
    EXPECT_NE(std::string::npos, settings.Text().find("1.5"));
}

} // namespace
