#ifndef KESTROVE_SIMULATOR_SETTINGS_JSONREADER_H
#define KESTROVE_SIMULATOR_SETTINGS_JSONREADER_H

#include <cstddef>
#include <limits>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

/// How much a text of JSON may have.
struct JsonLimits
{
    std::size_t values = std::numeric_limits<std::size_t>::max();  ///< the names in objects count
    std::size_t nesting = std::numeric_limits<std::size_t>::max(); ///< of lists and objects
};

/// What a text of JSON says.
struct JsonDocument
{
    enum class EExcess
    {
        None,
        Values,
        Nesting,
    };

    /// Stays so where the text is not JSON.
    nlohmann::json value = nlohmann::json::value_t::discarded;
    EExcess excess = EExcess::None; ///< what there is too much of; there is no value then
    /// The first name that an object has twice. The value has the last, other readers take the
    /// first, and whoever has written the text may mean either.
    std::optional<std::string> twice;
};

/// Reads a text of JSON, in a time that grows with its length and no faster. Nothing is kept of
/// what is beyond the limits, and nothing is read behind it.
///
/// @throws CWorkEnded where the work of this thread has been ordered to stop.
JsonDocument ReadJson(const std::string& text, const JsonLimits& limits = {});

#endif
