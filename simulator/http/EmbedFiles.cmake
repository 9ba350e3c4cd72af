# Writes a source file that holds other files, byte for byte.
#
# usage: cmake -D OUTPUT=file.cpp -D FILES=a,b,... -P EmbedFiles.cmake

string(REPLACE "," ";" files "${FILES}")
set(entries "")
set(contents "")
foreach(file IN LISTS files)
  cmake_path(GET file FILENAME name)
  string(MAKE_C_IDENTIFIER "${name}" identifier)
  file(READ "${file}" hex HEX)
  # Eight bytes a line; a zero at the end, since an array must not be empty.
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?(0x[0-9a-f][0-9a-f],)?)" "\\1\n" bytes "${bytes}")
  string(APPEND contents "const unsigned char ${identifier}[] = {\n${bytes}0};\n\n")
  string(APPEND entries
    "        {\"${name}\", {reinterpret_cast<const char*>(${identifier}), sizeof ${identifier} - 1}},\n")
endforeach()

file(WRITE "${OUTPUT}.new" "#include \"simulator/http/EmbeddedFiles.h\"

namespace {

${contents}} // namespace

std::vector<EmbeddedFile> EmbeddedFiles()
{
    return {
${entries}    };
}
")
file(RENAME "${OUTPUT}.new" "${OUTPUT}")
