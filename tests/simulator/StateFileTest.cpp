#include "simulator/settings/StateFile.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Directory.h"

namespace {

/// A state file that is in use, or a failed test.
std::unique_ptr<CStateFile> Opened(const std::string& path)
{
    auto file = std::make_unique<CStateFile>(path);
    EXPECT_EQ("", file->Open());
    return file;
}

/// Why a state file cannot be used.
std::string Refusal(const std::string& path)
{
    return CStateFile(path).Open();
}

/// What a state file holds, read by a run of its own.
KeptValues Held(const std::string& path)
{
    KeptValues values;
    EXPECT_EQ("", Opened(path)->Load(values));
    return values;
}

std::set<std::string> FilesOf(const Directory& directory)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory.File(""))) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

const KeptValues kOld{{"lookahead_time", 1.5}};
const KeptValues kNew{{"lookahead_time", 2.5}};

TEST(StateFile, GivesBackWhatWasSaved)
{
    const Directory directory;
    const KeptValues saved{{"lookahead_time", 1.7}, {"reverse_engage_enabled", true}};

    EXPECT_EQ("", Opened(directory.File("state.json"))->Save(saved));

    EXPECT_EQ(saved, Held(directory.File("state.json")));
    EXPECT_EQ(std::set<std::string>{"state.json"}, FilesOf(directory));
}

TEST(StateFile, IsEmptyWhenThereIsNone)
{
    const Directory directory;

    EXPECT_TRUE(Held(directory.File("none.json")).empty());

    EXPECT_TRUE(FilesOf(directory).empty());
}

TEST(StateFile, TakesSwitchesAsWords)
{
    const Directory directory;
    directory.Write("state.json", R"({"settings": {"reverse_engage_enabled": true}})");

    EXPECT_EQ((KeptValues{{"reverse_engage_enabled", true}}), Held(directory.File("state.json")));
}

TEST(StateFile, TellsWhatIsWrongWithAFile)
{
    for (const char* text :
         {" ", "{", "[]", "null", "{}", R"({"settings": 1})", R"({"settings": {"a": "x"}})",
          R"({"settings": {"a": 1e999}})", R"({"settings": {"a": 1}} more)", "\xff\xfe{}",
          R"({"settings": {"a": [1]}})"}) {
        const Directory directory;
        directory.Write("state.json", text);
        KeptValues loaded{{"kept", 1.0}};

        const std::string problem = Opened(directory.File("state.json"))->Load(loaded);

        EXPECT_EQ(0u, problem.find("cannot read the state file " + directory.File("state.json")))
            << text << ": " << problem;
        EXPECT_EQ((KeptValues{{"kept", 1.0}}), loaded) << text;
    }
}

TEST(StateFile, NamesWhatIsWrongInPrintableWordsOfBoundedLength)
{
    const std::string deep(200000, '[');
    const std::string deepEnd(200000, ']');
    for (const std::string& entry :
         {std::string(R"("\u001b[31m\u009b\u007f": "\u0007")"), "\"a\": " + deep + deepEnd,
          "\"" + std::string(500000, 'n') + "\": null"}) {
        const Directory directory;
        directory.Write("state.json", "{\"settings\": {" + entry + "}}");
        KeptValues loaded;

        const std::string problem = Opened(directory.File("state.json"))->Load(loaded);

        EXPECT_TRUE(Contains(problem, "allowed is a number, true or false")) << problem;
        EXPECT_LT(problem.size(), 500u);
        for (const char character : problem) {
            EXPECT_TRUE(character >= ' ' && character <= '~') << problem;
        }
    }
}

TEST(StateFile, MayBeEmptyBeforeAnythingIsKept)
{
    const Directory directory;
    directory.Write("state.json", "");

    EXPECT_TRUE(Held(directory.File("state.json")).empty());
}

TEST(StateFile, WarnsOfItsOtherNames)
{
    const Directory directory;
    directory.Write("state.json", R"({"settings": {"lookahead_time": 1.5}})");
    std::filesystem::create_hard_link(directory.File("state.json"), directory.File("other.json"));
    auto file = Opened(directory.File("state.json"));

    EXPECT_TRUE(Contains(file->Warning(), "has 2 names")) << file->Warning();
    EXPECT_EQ("", file->Save(kNew));

    file.reset();
    EXPECT_EQ(kOld, Held(directory.File("other.json"))) << "as the warning says";
    EXPECT_EQ("", Opened(directory.File("state.json"))->Warning());
}

TEST(StateFile, HasEachNameOnce)
{
    for (const char* text : {R"({"settings": {"lookahead_time": 1.5, "lookahead_time": 1.8}})",
                             R"({"settings": {"lookahead_time": 1.5, "lookahead_time": 1.5}})",
                             R"({"settings": {"a": 1, "lookahead_time": true, "b": 2,
                                              "lookahead\u005ftime": 1}})",
                             R"({"lookahead_time": 1, "settings": {}, "lookahead_time": 2})"}) {
        const Directory directory;
        directory.Write("state.json", text);
        KeptValues loaded{{"kept", 1.0}};

        EXPECT_EQ("cannot read the state file " + directory.File("state.json") +
                      ": \"lookahead_time\" is there twice",
                  Opened(directory.File("state.json"))->Load(loaded));
        EXPECT_EQ((KeptValues{{"kept", 1.0}}), loaded);
    }
    const Directory directory;
    directory.Write("state.json", R"({"settings": {"lookahead_time": 1.5}, "settings": {}})");
    KeptValues loaded;
    EXPECT_TRUE(Contains(Opened(directory.File("state.json"))->Load(loaded),
                         "\"settings\" is there twice"));
    // Names of different objects have nothing to do with each other.
    directory.Write("state.json",
                    R"({"settings": {"lookahead_time": 1.5}, "other": {"lookahead_time": 2}})");
    EXPECT_EQ(kOld, Held(directory.File("state.json")));
}

TEST(StateFile, IsReadUpToAMebibyte)
{
    const Directory directory;
    std::string text = R"({"settings": {"lookahead_time": 1.5}})";
    text.resize(CStateFile::kMostBytes, ' ');
    directory.Write("state.json", text);
    EXPECT_EQ(kOld, Held(directory.File("state.json")));

    directory.Write("state.json", text + " ");
    KeptValues loaded;

    EXPECT_EQ("cannot read the state file " + directory.File("state.json") +
                  ": it has more than 1048576 bytes",
              Opened(directory.File("state.json"))->Load(loaded));
}

TEST(StateFile, TellsApartASwitchAndANumber)
{
    const Directory directory;

    Opened(directory.File("state.json"))->Save({{"a", true}, {"b", 1.0}});

    EXPECT_NE(std::string::npos, directory.Read("state.json").find("\"a\": true"));
    EXPECT_EQ((KeptValues{{"a", true}, {"b", 1.0}}), Held(directory.File("state.json")));
}

TEST(StateFile, CannotBeWhatIsNoRegularFile)
{
    const Directory directory;
    ASSERT_EQ(0, ::mkfifo(directory.File("pipe").c_str(), 0600));
    const std::string useless = "cannot use the state file ";

    EXPECT_EQ(useless + directory.File("") + ": it is a directory", Refusal(directory.File("")));
    EXPECT_EQ(useless + "/: it is a directory", Refusal("/"));
    EXPECT_EQ(useless + directory.File("pipe") + ": it is no regular file",
              Refusal(directory.File("pipe")));
    EXPECT_EQ(useless + "/dev/null: it is no regular file", Refusal("/dev/null"));
    EXPECT_EQ(std::set<std::string>{"pipe"}, FilesOf(directory));
}

TEST(StateFile, CannotBeWhereNoFilesCanBeMade)
{
    EXPECT_EQ("cannot use the state file /no/such/state.json: files cannot be made in /no/such: No "
              "such file or directory",
              Refusal("/no/such/state.json"));
}

TEST(StateFile, CannotHaveANameThatIsTooLong)
{
    const Directory directory;

    const std::string refusal = Refusal(directory.File(std::string(256, 'n')));

    EXPECT_TRUE(Contains(refusal, "File name too long")) << refusal;
}

TEST(StateFile, CanHaveANameOfAnyLengthAllowed)
{
    for (const std::size_t length : {1, 199, 200, 201, 240, 250, 251, 252, 253, 254, 255}) {
        const Directory directory;
        const std::string path = directory.File(std::string(length, 'n'));

        EXPECT_EQ("", Opened(path)->Save(kNew)) << length;

        EXPECT_EQ(kNew, Held(path)) << length;
        EXPECT_EQ(1u, FilesOf(directory).size()) << length;
    }
}

TEST(StateFile, LeavesFilesOfOthersBesideIt)
{
    for (const std::string content :
         {"", "precious", ".state.json.new-0123", ".state.json.new\n"}) {
        const Directory directory;
        const std::set<std::string> others{".state.json.lock", ".state.json.new",
                                           ".state.json.new-0123456789abcdef",
                                           ".state.json.new-0123"};
        for (const std::string& name : others) {
            directory.Write(name, content);
        }

        EXPECT_EQ("", Opened(directory.File("state.json"))->Save(kNew));

        for (const std::string& name : others) {
            EXPECT_EQ(content, directory.Read(name)) << name;
        }
        EXPECT_EQ(others.size() + 1, FilesOf(directory).size());
    }
}

TEST(StateFile, CannotBeALinkToAFileThatIsNotThere)
{
    const Directory directory;
    std::filesystem::create_symlink("nowhere.json", directory.File("link.json"));
    std::filesystem::create_symlink("link.json", directory.File("again.json"));
    std::filesystem::create_symlink("loop.json", directory.File("loop.json"));

    EXPECT_EQ("cannot use the state file " + directory.File("link.json") +
                  ": it is a symbolic link to a file that is not there",
              Refusal(directory.File("link.json")));
    EXPECT_TRUE(Contains(Refusal(directory.File("again.json")), "a file that is not there"));
    EXPECT_TRUE(Contains(Refusal(directory.File("loop.json")), "symbolic links"));
    EXPECT_EQ((std::set<std::string>{"again.json", "link.json", "loop.json"}), FilesOf(directory));
}

TEST(StateFile, IsUsedByOneProgramAtATime)
{
    for (const bool isThere : {false, true}) {
        const Directory directory;
        const std::string path = directory.File("state.json");
        if (isThere) {
            directory.Write("state.json", R"({"settings": {}})");
        }
        const auto first = Opened(path);
        std::filesystem::create_symlink(directory.File(""), directory.File("folder"));

        for (int saved = 0; saved < 3; ++saved) {
            EXPECT_EQ("cannot use the state file " + path + ": another simulator uses it",
                      Refusal(path));
            EXPECT_TRUE(
                Contains(Refusal(directory.File("./folder/../" + directory.Name() + "/state.json")),
                         "another simulator uses it"));
            EXPECT_EQ("", first->Save(saved % 2 == 0 ? kOld : kNew));
        }
        std::filesystem::create_symlink("state.json", directory.File("link.json"));
        EXPECT_TRUE(Contains(Refusal(directory.File("link.json")), "another simulator uses it"));
        std::filesystem::create_hard_link(path, directory.File("hard.json"));
        EXPECT_TRUE(Contains(Refusal(directory.File("hard.json")), "another program uses it"));
        EXPECT_EQ("", Opened(directory.File("other.json"))->Save(kOld));
        EXPECT_EQ("", first->Save(kNew));
    }
}

TEST(StateFile, CanBeUsedByTheNextProgramHoweverTheOneBeforeEnded)
{
    const Directory directory;
    const std::string path = directory.File("state.json");
    const pid_t child = ::fork();
    if (child == 0) {
        CStateFile file(path);
        file.Open();
        file.Save(kOld);
        ::raise(SIGKILL);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(std::filesystem::exists(directory.File(".state.json.lock")));

    EXPECT_EQ("", Opened(path)->Save(kNew));

    EXPECT_EQ(kNew, Held(path));
    EXPECT_EQ(std::set<std::string>{"state.json"}, FilesOf(directory));
}

TEST(StateFile, GetsItsLockBackWhenSomebodyHasRemovedIt)
{
    const Directory directory;
    const std::string path = directory.File("state.json");
    const auto file = Opened(path);
    std::filesystem::remove(directory.File(".state.json.lock"));

    EXPECT_TRUE(file->LookAfterLock());

    EXPECT_TRUE(Contains(Refusal(path), "another simulator uses it"));
    std::filesystem::remove(directory.File(".state.json.lock"));
    EXPECT_EQ("", file->Save(kNew));
    EXPECT_TRUE(Contains(Refusal(path), "another simulator uses it"));
    EXPECT_EQ((std::set<std::string>{".state.json.lock", "state.json"}), FilesOf(directory));
}

TEST(StateFile, IsNotWrittenWhileAnotherProgramHasTakenItsLock)
{
    const Directory directory;
    const std::string path = directory.File("state.json");
    const auto first = Opened(path);
    std::filesystem::remove(directory.File(".state.json.lock"));
    {
        const auto second = Opened(path);

        EXPECT_FALSE(first->LookAfterLock());
        EXPECT_EQ("cannot write the state file " + path + ": another simulator uses it",
                  first->Save(kOld));

        EXPECT_EQ("", second->Save(kNew));
        EXPECT_TRUE(Contains(directory.Read("state.json"), "2.5"));
    }
    EXPECT_EQ("", first->Save(kOld));
    EXPECT_TRUE(Contains(Refusal(path), "another simulator uses it"));
}

/// Puts something in the place of the files that a state file makes beside itself.
using Plant = std::function<void(const std::string& target, const std::string& place)>;

TEST(StateFile, FollowsNoLinkInThePlaceOfItsNewFile)
{
    const std::vector<Plant> plants{
        [](const auto& target, const auto& place) {
            std::filesystem::create_symlink(target, place);
        },
        [](const auto& target, const auto& place) {
            std::filesystem::create_hard_link(target, place);
        },
        [](const auto& target, const auto& place) {
            std::filesystem::create_symlink(target + ".missing", place);
        },
        [](const auto&, const auto& place) { std::filesystem::create_directory(place); },
        [](const auto&, const auto& place) { ::mkfifo(place.c_str(), 0600); },
    };
    for (const Plant& plant : plants) {
        const Directory directory;
        directory.Write("victim", "precious");
        const auto file = Opened(directory.File("state.json"));
        std::string planted = directory.Read(".state.json.lock");
        planted.pop_back();
        plant(directory.File("victim"), directory.File(planted));

        EXPECT_EQ("", file->Save(kNew));

        EXPECT_TRUE(FilesOf(directory).count(planted) == 1);
        EXPECT_EQ("precious", directory.Read("victim"));
        EXPECT_FALSE(std::filesystem::exists(directory.File("victim.missing")));
        EXPECT_TRUE(Contains(directory.Read("state.json"), "2.5"));
        EXPECT_FALSE(std::filesystem::is_symlink(directory.File("state.json")));
    }
}

TEST(StateFile, FollowsNoLinkInThePlaceOfItsLock)
{
    const Directory directory;
    directory.Write("victim", "precious");
    std::filesystem::create_symlink("victim", directory.File(".a.json.lock"));
    std::filesystem::create_symlink("missing", directory.File(".b.json.lock"));
    ASSERT_EQ(0, ::mkfifo(directory.File(".c.json.lock").c_str(), 0600));

    for (const std::string name : {"a", "b", "c"}) {
        const std::string refusal = Refusal(directory.File(name + ".json"));
        EXPECT_TRUE(Contains(refusal, "." + name + ".json.lock, which it needs")) << refusal;
    }
    EXPECT_EQ("precious", directory.Read("victim"));
    EXPECT_FALSE(std::filesystem::exists(directory.File("missing")));
}

TEST(StateFile, LeavesWhatIsPutInThePlaceOfItsLock)
{
    const Directory directory;
    {
        const auto file = Opened(directory.File("state.json"));
        std::filesystem::remove(directory.File(".state.json.lock"));
        directory.Write(".state.json.lock", "precious");
    }
    EXPECT_EQ("precious", directory.Read(".state.json.lock"));
}

TEST(StateFile, ReplacesALinkThatIsPutInItsPlaceMeanwhile)
{
    const Directory directory;
    directory.Write("victim", "precious");
    const auto file = Opened(directory.File("state.json"));
    file->Save(kOld);
    std::filesystem::remove(directory.File("state.json"));
    std::filesystem::create_symlink("victim", directory.File("state.json"));

    EXPECT_EQ("", file->Save(kNew));

    EXPECT_EQ("precious", directory.Read("victim"));
    EXPECT_FALSE(std::filesystem::is_symlink(directory.File("state.json")));
}

TEST(StateFile, KeepsItsModeAndItsOwner)
{
    for (const mode_t mode : {0600u, 0640u, 0644u, 0666u, 0400u}) {
        const Directory directory;
        const std::string path = directory.File("state.json");
        directory.Write("state.json", R"({"settings": {}})");
        ASSERT_EQ(0, ::chmod(path.c_str(), mode));
        // Root alone may give files away, and root of a name space to few.
        const bool isGiven = ::chown(path.c_str(), 12345, 54321) == 0;
        const auto file = Opened(path);

        EXPECT_EQ("", file->Save(kOld));
        EXPECT_EQ("", file->Save(kNew));

        struct stat now = {};
        ASSERT_EQ(0, ::stat(path.c_str(), &now));
        EXPECT_EQ(mode, now.st_mode & 07777);
        EXPECT_EQ(isGiven ? 12345u : ::getuid(), now.st_uid);
        EXPECT_EQ(isGiven ? 54321u : ::getgid(), now.st_gid);
    }
}

TEST(StateFile, HasTheModeThatTheProcessGivesToNewFiles)
{
    const Directory directory;
    const mode_t before = ::umask(0027);

    Opened(directory.File("state.json"))->Save(kOld);
    ::umask(before);

    struct stat now = {};
    ASSERT_EQ(0, ::stat(directory.File("state.json").c_str(), &now));
    EXPECT_EQ(0640u, now.st_mode & 07777);
}

/// Runs `action` in a process that is killed when it enters or leaves its system call number
/// `stop`, counted from 0.
///
/// @return false when the process came to its end before.
bool KilledAtStop(int stop, const std::function<void()>& action)
{
    const pid_t child = ::fork();
    if (child == 0) {
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            ::_exit(1);
        }
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
    const std::string path = directory.File("state.json");
    int timesOld = 0;
    int timesNew = 0;
    for (int stop = 0;; ++stop) {
        const auto file = Opened(path);
        ASSERT_EQ("", file->Save(kOld));
        const bool killed = KilledAtStop(stop, [&] { file->Save(kNew); });

        KeptValues loaded;
        // Reads the file under its name, past the locks.
        std::filesystem::copy_file(path, directory.File("copy.json"),
                                   std::filesystem::copy_options::overwrite_existing);
        EXPECT_EQ("", Opened(directory.File("copy.json"))->Load(loaded)) << "stop " << stop;
        EXPECT_TRUE(loaded == kOld || loaded == kNew) << "stop " << stop;
        if (!killed) {
            break;
        }
        ++(loaded == kOld ? timesOld : timesNew);
    }
    // Opening, writing and bringing to the disk go before the rename, the folder's come after it.
    EXPECT_GE(timesOld, 8);
    EXPECT_GE(timesNew, 2);
}

TEST(StateFile, RemovesWhatItsOwnCrashLeftBehindWhereverThatWas)
{
    int leftBehind = 0;
    for (int stop = 0;; ++stop) {
        const Directory directory;
        const std::string path = directory.File("state.json");
        const bool killed = KilledAtStop(stop, [&] { Opened(path)->Save(kOld); });
        if (!killed) {
            break;
        }
        leftBehind += FilesOf(directory).size() > 1 ? 1 : 0;

        EXPECT_EQ("", Opened(path)->Save(kNew)) << "stop " << stop;

        // Of a lock that nothing had been written to, nobody knows whose it is.
        auto files = FilesOf(directory);
        if (files.count(".state.json.lock") == 1) {
            EXPECT_EQ("", directory.Read(".state.json.lock")) << "stop " << stop;
            files.erase(".state.json.lock");
        }
        EXPECT_EQ(std::set<std::string>{"state.json"}, files) << "stop " << stop;
    }
    EXPECT_GE(leftBehind, 8);
}

TEST(StateFile, StaysAsItWasWhenTheNewOneCannotBeWritten)
{
    const Directory directory;
    const auto file = Opened(directory.File("state.json"));
    file->Save(kOld);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit none{5, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &none);

    const std::string problem = file->Save(kNew);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    EXPECT_EQ("cannot write the state file " + directory.File("state.json") + ": File too large",
              problem);
    EXPECT_TRUE(Contains(directory.Read("state.json"), "1.5"));
    EXPECT_EQ((std::set<std::string>{".state.json.lock", "state.json"}), FilesOf(directory));
    EXPECT_EQ("", file->Save(kNew));
}

TEST(StateFile, ReplacesTheFileThatALinkPointsTo)
{
    const Directory directory;
    std::filesystem::create_directory(directory.File("folder"));
    directory.Write("folder/real.json", R"({"settings": {}})");
    std::filesystem::create_symlink("folder/real.json", directory.File("link.json"));

    EXPECT_EQ("", Opened(directory.File("link.json"))->Save(kNew));

    EXPECT_TRUE(std::filesystem::is_symlink(directory.File("link.json")));
    EXPECT_EQ(kNew, Held(directory.File("folder/real.json")));
}

} // namespace
