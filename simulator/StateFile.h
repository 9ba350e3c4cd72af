#ifndef KESTROVE_SIMULATOR_STATEFILE_H
#define KESTROVE_SIMULATOR_STATEFILE_H

#include <map>
#include <string>
#include <variant>

/// A setting that outlives a restart: a switch or a number.
using KeptValue = std::variant<bool, double>;
/// Such settings by name.
using KeptValues = std::map<std::string, KeptValue>;

/// The file in which the service keeps settings: JSON, one number or switch a name.
///
/// Writing replaces the file as a whole: a new file is written beside it, brought to the disk and
/// renamed. So whenever the program or the machine stops, the file is the old or the new one, and
/// never half of one. Thread safety: none.
class StateFileC
{
public:
    /// @param path where the file is or is to be; a symbolic link is followed.
    explicit StateFileC(const std::string& path);

    /// Whether Save() can be expected to work: the file can be made, or replaced where there is
    /// one. Changes nothing.
    ///
    /// @return an empty text when it is so, otherwise what stands in the way.
    std::string Check() const;

    /// Reads the file. None there is the same as an empty one.
    ///
    /// @param values receives what the file holds; untouched on failure.
    /// @return an empty text on success, otherwise why the file cannot be read.
    std::string Load(KeptValues& values) const;

    /// Replaces the file.
    ///
    /// @return an empty text on success, otherwise why it could not be written; the old file then
    ///         stands as it was.
    std::string Save(const KeptValues& values) const;

private:
    std::string Directory() const;
    std::string TemporaryFile() const { return m_path + ".new"; }

    std::string m_path;
};

#endif
