#include "simulator/StateFile.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Directory.h"

namespace {

TEST(StateFile, GivesBackWhatWasSaved)
{
    const Directory directory;
    const StateFileC file(directory.File("state.json"));
    const KeptValues saved{{"lookahead_time", 1.7}, {"reverse_engage_enabled", 1.0}};

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

    EXPECT_EQ((KeptValues{{"reverse_engage_enabled", 1.0}}), loaded);
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

TEST(StateFile, TellsThatADirectoryIsNone)
{
    const Directory directory;
    KeptValues loaded;

    EXPECT_NE(std::string::npos,
              StateFileC(directory.File("")).Load(loaded).find("it is a directory"));
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
