#ifndef KESTROVE_RECORDING_DECODING_JSONSCHEMAS_H
#define KESTROVE_RECORDING_DECODING_JSONSCHEMAS_H

#include <string>

/// The JSON Schema of the messages that are written beside the link, by its name: what is in them
/// and which entries are always there. Those of viewers have their well-known names. An object of
/// anything for other names.
std::string JsonSchemaOf(const std::string& name);

#endif
