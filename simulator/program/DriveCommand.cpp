#include "simulator/program/DriveCommand.h"

#include <set>

#include "simulator/base/Version.h"

namespace {

/// Options that a drive does not depend on.
const std::set<std::string> kElsewhere{"--port",      "--http",      "--state", "--track",
                                       "--record",    "--log-level", "--nmea",  "--nmea-origin",
                                       "--nmea-rate", "--seed"};

std::string ValueOf(const CLI::Option& option)
{
    std::string value;
    for (const std::string& part : option.results()) {
        value += (value.empty() ? "" : ",") + part;
    }
    return value;
}

} // namespace

std::string ShellWord(const std::string& word)
{
    const char* const plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                              "-_=+,./:@%";
    if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) {
        return word;
    }
    std::string quoted = "'";
    for (const char letter : word) {
        quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return quoted + "'";
}

std::string DriveCommandOf(const CLI::App& app, std::uint64_t seed)
{
    std::string command = "navigation-simulator";
    for (const CLI::Option* option : app.get_options()) {
        const std::string name = option->get_name();
        if (option->count() == 0 || kElsewhere.count(name) != 0) {
            continue;
        }
        command += " " + name;
        if (option->get_expected_max() > 0) {
            command += " " + ShellWord(ValueOf(*option));
        }
    }
    return std::string("version ") + ProgramVersion() + ": " + command + " --seed " +
           std::to_string(seed);
}
