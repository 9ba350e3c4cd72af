#include "simulator/StateFile.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Directory.h"

namespace {

TEST(StateFile, GivesBackWhatWasSaved)
{
    const Directory directory;
    const StateFileC file(directory.File("state.json"));
    const KeptValues saved{{"lookahead_time", 1.7}, {"reverse_engage_enabled", true}};

    EXPECT_EQ("", file.Save(saved));

    KeptValues loaded;
    EXPECT_EQ("", file.Load(loaded));
    EXPECT_EQ(saved, loaded);
    EXPECT_FALSE(std::filesystem::exists(directory.File("state.json.new")));
}

TEST(StateFile, IsEmptyWhenThereIsNone)
{
    const Directory directory;
    KeptValues loaded;

    EXPECT_EQ("", StateFileC(directory.File("none.json")).Load(loaded));

    EXPECT_TRUE(loaded.empty());
}

TEST(StateFile, TakesSwitchesAsWords)
{
    const Directory directory;
    directory.Write("state.json", R"({"settings": {"reverse_engage_enabled": true}})");
    KeptValues loaded;

    EXPECT_EQ("", StateFileC(directory.File("state.json")).Load(loaded));

    EXPECT_EQ((KeptValues{{"reverse_engage_enabled", true}}), loaded);
}

TEST(StateFile, TellsWhatIsWrongWithAFile)
{
    for (const char* text :
         {"", "{", "[]", "null", "{}", R"({"settings": 1})", R"({"settings": {"a": "x"}})",
          R"({"settings": {"a": 1e999}})", R"({"settings": {"a": 1}} more)", "\xff\xfe{}",
          R"({"settings": {"a": [1]}})"}) {
        const Directory directory;
        directory.Write("state.json", text);
        KeptValues loaded{{"kept", 1.0}};

        const std::string problem = StateFileC(directory.File("state.json")).Load(loaded);

        EXPECT_EQ(0u, problem.find("cannot read the state file " + directory.File("state.json")))
            << text << ": " << problem;
        EXPECT_EQ((KeptValues{{"kept", 1.0}}), loaded) << text;
    }
}

TEST(StateFile, TellsApartASwitchAndANumber)
{
    const Directory directory;
    const StateFileC file(directory.File("state.json"));

    file.Save({{"a", true}, {"b", 1.0}});

    EXPECT_NE(std::string::npos, directory.Read("state.json").find("\"a\": true"));
    KeptValues loaded;
    file.Load(loaded);
    EXPECT_EQ((KeptValues{{"a", true}, {"b", 1.0}}), loaded);
}

TEST(StateFile, TellsThatADirectoryIsNone)
{
    const Directory directory;
    const StateFileC file(directory.File(""));
    KeptValues loaded;

    EXPECT_NE(std::string::npos, file.Load(loaded).find("it is a directory"));
    EXPECT_NE(std::string::npos, file.Check().find("it is a directory"));
}

TEST(StateFile, TellsThatAPipeIsNoneWithoutWaitingForItsOtherEnd)
{
    const Directory directory;
    ASSERT_EQ(0, ::mkfifo(directory.File("pipe").c_str(), 0600));
    const StateFileC file(directory.File("pipe"));
    KeptValues loaded;

    EXPECT_NE(std::string::npos, file.Load(loaded).find("it is no regular file"));
    EXPECT_NE(std::string::npos, file.Check().find("it is no regular file"));
}

TEST(StateFile, TellsBeforehandThatItCannotBeWritten)
{
    const Directory directory;
    EXPECT_EQ("cannot use the state file /no/such/state.json: files cannot be made in /no/such: No "
              "such file or directory",
              StateFileC("/no/such/state.json").Check());

    ASSERT_EQ(0, ::mkfifo(directory.File("state.json.new").c_str(), 0600));
    const StateFileC hindered(directory.File("state.json"));
    EXPECT_NE(std::string::npos, hindered.Check().find("state.json.new, which it needs"));
    EXPECT_NE("", hindered.Save({}));
}

TEST(StateFile, CanBeUsedWhereThereIsOneAndWhereThereIsNone)
{
    const Directory directory;
    const StateFileC file(directory.File("state.json"));
    EXPECT_EQ("", file.Check());
    EXPECT_FALSE(std::filesystem::exists(directory.File("state.json")));

    file.Save({});
    // Left behind by a crash.
    directory.Write("state.json.new", "{");

    EXPECT_EQ("", file.Check());
}

/// Runs `action` in a process that is killed when it enters or leaves its system call number
/// `stop`, counted from 0.
///
/// @return false when the process came to its end before.
bool KilledAtStop(int stop, const std::function<void()>& action)
{
    const pid_t child = ::fork();
    if (child == 0) {
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            ::_exit(1);
        ::raise(SIGSTOP);
        action();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    for (int stops = 0; WIFSTOPPED(status) && stops <= stop; ++stops) {
        ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        ::waitpid(child, &status, 0);
    }
    const bool killed = WIFSTOPPED(status);
    if (killed) {
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
    }
    return killed;
}

TEST(StateFile, IsTheOldOrTheNewOneWhereverInWritingTheProgramIsKilled)
{
    const Directory directory;
    const StateFileC file(directory.File("state.json"));
    const KeptValues old{{"lookahead_time", 1.5}};
    const KeptValues changed{{"lookahead_time", 2.5}};
    int timesOld = 0;
    int timesNew = 0;
    for (int stop = 0;; ++stop) {
        ASSERT_EQ("", file.Save(old));
        const bool killed = KilledAtStop(stop, [&] { file.Save(changed); });

        KeptValues loaded;
        EXPECT_EQ("", file.Load(loaded)) << "stop " << stop;
        EXPECT_TRUE(loaded == old || loaded == changed) << "stop " << stop;
        EXPECT_EQ("", file.Check()) << "stop " << stop;
        if (!killed)
            break;
        ++(loaded == old ? timesOld : timesNew);
    }
    // Opening, writing and bringing to the disk go before the rename, the folder's come after it.
    EXPECT_GE(timesOld, 8);
    EXPECT_GE(timesNew, 4);
}

TEST(StateFile, KeepsTheOldFileWhenTheNewOneCannotBeWritten)
{
    const Directory directory;
    const StateFileC file(directory.File("state.json"));
    file.Save({{"lookahead_time", 1.5}});
    // A directory in the place of the temporary file stops the writing, for root too.
    std::filesystem::create_directory(directory.File("state.json.new"));

    const std::string problem = file.Save({{"lookahead_time", 2.5}});

    EXPECT_EQ(0u, problem.find("cannot write the state file")) << problem;
    KeptValues loaded;
    EXPECT_EQ("", file.Load(loaded));
    EXPECT_EQ((KeptValues{{"lookahead_time", 1.5}}), loaded);
}

TEST(StateFile, ReplacesTheFileThatALinkPointsTo)
{
    const Directory directory;
    directory.Write("real.json", R"({"settings": {}})");
    std::filesystem::create_symlink(directory.File("real.json"), directory.File("link.json"));

    EXPECT_EQ("", StateFileC(directory.File("link.json")).Save({{"lookahead_time", 2.5}}));

    EXPECT_TRUE(std::filesystem::is_symlink(directory.File("link.json")));
    KeptValues loaded;
    EXPECT_EQ("", StateFileC(directory.File("real.json")).Load(loaded));
    EXPECT_EQ((KeptValues{{"lookahead_time", 2.5}}), loaded);
}

} // namespace
