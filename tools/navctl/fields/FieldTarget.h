#ifndef KESTROVE_TOOLS_NAVCTL_FIELDS_FIELDTARGET_H
#define KESTROVE_TOOLS_NAVCTL_FIELDS_FIELDTARGET_H

#include <string>

#include "tools/fieldfiles/WriteFieldFile.h"
#include "tools/navctl/Context.h"

/// Where a file of fields is written to.
struct FieldTarget
{
    std::string path; ///< "-" for the standard output
    EFieldFormat format = EFieldFormat::IsoXml;
    EShapes shapes = EShapes::Lines;
};

/// Writes a file of fields and ends the command: with the result, with what a format cannot hold,
/// or with why it cannot be written. Nothing is written unless all of it can be.
void WriteFields(CContext& context, CFieldFile file, const FieldTarget& target);

#endif
