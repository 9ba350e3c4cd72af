#ifndef KESTROVE_PLATFORM_OBJECTSTORE_H
#define KESTROVE_PLATFORM_OBJECTSTORE_H

/// @file
/// Records of numbers as text.

#include <map>
#include <string>

#include "core/Export.h"

namespace Core::IO {

/// Writes numbers under tags into one text, and reads them back by their tags.
///
/// The text is `tag=value` pairs joined by ';' in the order written: "1=51.5;2=-0.25;15=1". Ints
/// are decimal; doubles have their shortest form that reads back to the same bits, "inf", "-inf"
/// and "nan" included. The same Process calls write in output mode and read in input mode, so one
/// function can serve both ways. Thread safety: none.
class KESTROVE_EXPORT ObjectStore
{
public:
    /// An empty store in output mode.
    ObjectStore();
    /// Releases what the store holds.
    ~ObjectStore();
    ObjectStore(const ObjectStore&) = delete;
    ObjectStore& operator=(const ObjectStore&) = delete;

    /// Empties the store; from now on the Process calls write.
    void SetOutputMode();
    /// Fills the store from a text; from now on the Process calls read.
    ///
    /// @param text a record as AsString() gives it.
    /// @return false when the text is not such a record; the store is then empty.
    bool SetInputMode(const std::string& text);

    /// Output mode: appends a value under a tag. Input mode: reads the value of the tag.
    ///
    /// @param value is written, or receives what is read.
    /// @param tag names the value within the record.
    /// @return false when nothing readable stands under the tag; `value` is then untouched.
    bool ProcessDouble(double& value, unsigned int tag);
    /// ProcessDouble() for an int.
    ///
    /// @param value is written, or receives what is read.
    /// @param tag names the value within the record.
    /// @return as ProcessDouble().
    bool ProcessInt(int& value, unsigned int tag);

    /// @return the text of the store.
    [[nodiscard]] std::string AsString() const;

private:
    bool m_reading = false;
    std::string m_text;
    std::map<unsigned int, std::string> m_values;
};

} // namespace Core::IO

#endif
