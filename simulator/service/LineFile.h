#ifndef KESTROVE_SIMULATOR_SERVICE_LINEFILE_H
#define KESTROVE_SIMULATOR_SERVICE_LINEFILE_H

#include <string>

#include "simulator/base/Descriptor.h"
#include "simulator/settings/StateFile.h"

/// Opens a file to write lines to, in place of what stood there; a pipe or a device stays as it is.
/// A regular file is this program's alone from then on.
///
/// @param settings the state file, which is not to be overwritten whatever the path is; null for
///        none.
/// @param file receives the file.
/// @return an empty text on success, otherwise what stands in the way: the file stands as it was
///         then.
std::string OpenLineFile(const std::string& path, const CStateFile* settings, CDescriptor& file);

#endif
