# Writes a source file that holds other files: each byte for byte, compressed, and with a tag that is another
# one when they are.
#
# usage: cmake -D OUTPUT=file.cpp -D FILES=a,b,... -P EmbedFiles.cmake
cmake_minimum_required(VERSION 3.25)

string(REPLACE "," ";" files "${FILES}")
set(entries "")
set(contents "")

# Adds an array of bytes, given in hexadecimal digits.
function(add_bytes identifier hex)
  # Eight bytes a line; a zero at the end, since an array must not be empty.
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?)" "\\1\n" bytes "${bytes}")
  string(APPEND contents "const unsigned char ${identifier}[] = {\n${bytes}0};\n\n")
  set(contents "${contents}" PARENT_SCOPE)
endfunction()

foreach(file IN LISTS files)
  cmake_path(GET file FILENAME name)
  string(MAKE_C_IDENTIFIER "${name}" identifier)
  file(READ "${file}" hex HEX)
  add_bytes(${identifier} "${hex}")
  file(ARCHIVE_CREATE OUTPUT "${OUTPUT}.gz" PATHS "${file}" FORMAT raw COMPRESSION GZip COMPRESSION_LEVEL 9)
  file(READ "${OUTPUT}.gz" compressed HEX)
  # The head of a gzip file holds the time: the program is the same whenever it is built.
  string(SUBSTRING "${compressed}" 0 8 magic)
  string(SUBSTRING "${compressed}" 16 -1 rest)
  set(compressed "${magic}00000000${rest}")
  add_bytes(${identifier}_compressed "${compressed}")
  file(SHA256 "${file}" tag)
  string(SUBSTRING "${tag}" 0 16 tag)
  string(APPEND entries
    "        {\"${name}\", Bytes(${identifier}, sizeof ${identifier} - 1),\n"
    "         Bytes(${identifier}_compressed, sizeof ${identifier}_compressed - 1), \"${tag}\"},\n")
endforeach()
file(REMOVE "${OUTPUT}.gz")

file(WRITE "${OUTPUT}.new" "#include \"simulator/http/EmbeddedFiles.h\"

namespace {

std::string Bytes(const unsigned char* bytes, std::size_t count)
{
    return {reinterpret_cast<const char*>(bytes), count};
}

${contents}} // namespace

std::vector<EmbeddedFile> EmbeddedFiles()
{
    return {
${entries}    };
}
")
file(RENAME "${OUTPUT}.new" "${OUTPUT}")
