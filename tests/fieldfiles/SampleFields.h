#ifndef KESTROVE_TESTS_FIELDFILES_SAMPLEFIELDS_H
#define KESTROVE_TESTS_FIELDFILES_SAMPLEFIELDS_H

#include <random>
#include <string>

#include "tools/fieldfiles/FieldFile.h"

/// What the tests of files of fields share: fields with lines of all kinds, and how far two lines
/// are apart on the ground.

/// A line of a kind at random, within 2 km of a place. No shape is symmetrical, so that one that is
/// mirrored or turned is far from itself.
FieldLine RandomLine(Kestrove::EWaylineType kind, const FieldPlace& near, std::mt19937& random);

/// A place at random: in all quadrants, every fifth one at the 180th meridian.
FieldPlace RandomPlace(std::mt19937& random);

/// How far two places are apart, metres; heights do not count.
double Apart(const FieldPlace& left, const FieldPlace& right);

/// How far two lines of one kind are apart at most, metres: their points; the centres and radii of
/// circles; of an A-plus-heading line also a place a kilometre ahead. Infinite for different kinds
/// and numbers of points.
double Apart(const FieldLine& left, const FieldLine& right);

/// The only line of a file.
FieldLine OnlyLine(const CFieldFile& file);

/// The only problem that a function throws.
template <typename Function>
std::string ProblemOf(const Function& function)
{
    try {
        function();
    } catch (const CFieldFileProblem& problem) {
        return problem.what();
    }
    return "no problem";
}

#endif
