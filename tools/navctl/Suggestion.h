#ifndef KESTROVE_TOOLS_NAVCTL_SUGGESTION_H
#define KESTROVE_TOOLS_NAVCTL_SUGGESTION_H

#include <string>
#include <vector>

/// Which of the words that there are may have been meant by one that there is not: those with the
/// fewest letters wrong, two at most, and those that have all of its parts between hyphens; where
/// there are none, those that have all of its parts but for a letter or two, or begin with them.
/// Capital letters and underscores count as what they stand for.
///
/// @return words to follow others: "; did you mean \"watch\"?"; empty when none is near.
std::string Suggestion(const std::string& word, const std::vector<std::string>& words);

/// The same for commands, whose first part is a verb: only those of the verb that was given, or of
/// the one that is nearest to it, so that nobody who asks is led to a command that sets. A word
/// without a verb gets whatever has all of its parts.
std::string CommandSuggestion(const std::string& word, const std::vector<std::string>& commands);

#endif
