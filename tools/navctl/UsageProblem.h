#ifndef KESTROVE_TOOLS_NAVCTL_USAGEPROBLEM_H
#define KESTROVE_TOOLS_NAVCTL_USAGEPROBLEM_H

#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

/// The first word of a command line that stands where a command or an option does and is neither,
/// in words, with the one that may have been meant; nothing when there is no such word.
///
/// @param words the arguments, without the program's name.
std::optional<std::string> UnknownWord(const CLI::App& app, const std::vector<std::string>& words);

/// What is wrong with a command line that asks for the help of a command: its UnknownWord(), or a
/// word behind the command.
///
/// @param words the arguments, without the program's name.
std::optional<std::string> HelpProblem(const CLI::App& app, const std::vector<std::string>& words);

/// Where the first word stands that is neither an option nor the value of one; the number of words
/// where there is none.
///
/// @param words the arguments, without the program's name.
std::size_t PlaceOfCommand(const CLI::App& app, const std::vector<std::string>& words);

/// What is wrong with a command line, in words: its UnknownWord(), if it has one; what is too much,
/// given twice or missing.
///
/// @param app the command line that could not be read.
/// @param words the arguments, without the program's name.
/// @param error what the reading of it has thrown.
std::string UsageProblem(const CLI::App& app, const std::vector<std::string>& words,
                         const CLI::ParseError& error);

/// The words of a table of what they stand for.
template <typename Table>
std::vector<std::string> WordsOf(const Table& table)
{
    std::vector<std::string> words;
    for (const auto& entry : table) {
        words.push_back(entry.first);
    }
    return words;
}

/// A check that a text is one of some words; for another it names the one that may have been meant.
CLI::Validator WordAmong(const std::vector<std::string>& words);
/// A check that a text is a whole number within limits.
CLI::Validator WholeNumberWithin(int lowest, int highest);
/// A check that a text is a number within limits.
///
/// @param range the limits in words: "0.1 to 5".
CLI::Validator NumberWithin(double lowest, double highest, const std::string& range);

#endif
