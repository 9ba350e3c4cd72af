#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_CONFIRMATION_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_CONFIRMATION_H

#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/operations/Operation.h"

/// How it is found out whether the service has taken a setting: the getter is asked on the same
/// connection, whose messages the service takes in order.
struct CConfirmation
{
    const char* setter;
    const char* getter;
    std::size_t passed = 0; ///< how many leading arguments of the setter the getter takes, too
    /// The tuning parameter that the setter brings to its limits; kNone for none, kFirstArgument
    /// for the one that the setter names.
    int limited = kNone;

    static constexpr int kNone = -1;
    static constexpr int kFirstArgument = -2;
};

/// All of them, which are made from operations/operations.json.
const std::vector<CConfirmation>& Confirmations();
/// The confirmation of a setter.
///
/// @return null for an operation that nothing confirms but its own reply.
const CConfirmation* FindConfirmation(const std::string& setter);

/// What the service holds after a setter.
struct CHeld
{
    enum class EState
    {
        Same,    ///< what was set
        Limited, ///< what was set, brought to the nearest of its limits
        Another, ///< something else, or nothing
        Unknown, ///< the getter has failed; `outcome` says how
    };
    EState state;
    COutcome outcome;     ///< of the getter
    std::string text{};   ///< what is held, in words, with its unit
    std::string limits{}; ///< in words; empty but for what is limited
};

/// Asks what the service holds after a setter.
///
/// @param values the values of the setter's arguments.
CHeld AskWhatIsHeld(CNavigationAPI& navigation, const CConfirmation& confirmation,
                    const ArgumentValues& values);

#endif
