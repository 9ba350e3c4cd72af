#ifndef KESTROVE_RECORDING_READING_CHUNKS_H
#define KESTROVE_RECORDING_READING_CHUNKS_H

#include <map>
#include <string>

#include "recording/McapReader.h"
#include "recording/McapWriter.h"

/// Chunks of a mebibyte that are compressed with zstd.
CMcapChunking ZstdChunking();

/// The decompressions that there are: zstd. What is decompressed has the size that its chunk
/// announces or is refused.
std::map<std::string, CMcapReader::Decompression> Decompressions();

#endif
