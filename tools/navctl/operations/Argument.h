#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_ARGUMENT_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_ARGUMENT_H

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "wayline/Wayline.h"

/// What an argument of an operation may be.
enum class EArgumentType
{
    Switch,    ///< on or off
    Integer,   ///< a whole number of 32 bits
    Number,    ///< a finite number
    Single,    ///< a finite number that a float can hold
    Accuracy,  ///< a number that is not negative, or nan for one that is not known
    Time,      ///< Unix time in seconds, or "now"
    Kind,      ///< a kind of wayline, by name or number
    Parameter, ///< a tuning parameter, by name or number
    Wayline,   ///< a wayline's text form, as one word of the shell or several
    Waylines,  ///< one or more of them
};

/// An argument's value, as the operation takes it; enumerations as their number.
using ArgumentValue =
    std::variant<bool, int, double, Kestrove::WaylinePtr, std::vector<Kestrove::WaylinePtr>>;
/// The values of an operation's arguments, in the order of its entry.
using ArgumentValues = std::vector<ArgumentValue>;

/// An argument of an operation, as the command line and the documents show it.
struct CArgument
{
    std::string name;
    EArgumentType type;
    std::string unit;        ///< empty for what has none
    std::string range;       ///< what the bundled service allows, in words; navctl passes on more
    std::string help;        ///< what it stands for
    std::string otherwise{}; ///< the value without the argument, which is then an option
    bool isFlag = false;     ///< a switch that is set by its name alone

    /// Whether the argument may be left out.
    bool IsOption() const { return isFlag || !otherwise.empty(); }
    /// What may be given, for people: help, unit, range, words.
    std::string Description() const;
    /// The words that it may be, without their numbers; empty for what is not a choice.
    std::vector<std::string> Words() const;
    /// Reads what was given.
    ///
    /// @param words the words of the command line: one, or several for EArgumentType::Waylines.
    /// @param problem receives in words what is wrong.
    /// @return nothing when it is not a value of this type.
    std::optional<ArgumentValue> Read(const std::vector<std::string>& words,
                                      std::string& problem) const;
};

#endif
