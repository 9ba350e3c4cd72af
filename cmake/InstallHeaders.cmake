# Run at installation: copies the public headers, in which one includes another from the project's
# root, and has each include the others by the way from its own folder. So an application's own
# "core/Vector2.h" ahead in its include path takes the place of none of them.
#
# Takes: SOURCE, the project's root; OUTPUT, where the copies go; HEADERS, their names from the root.

file(REMOVE_RECURSE ${OUTPUT})
foreach(header IN LISTS HEADERS)
  file(READ ${SOURCE}/${header} text)
  string(REGEX REPLACE "(\n#include \")([a-z]+/[^\"]+\")" "\\1../\\2" text "${text}")
  file(WRITE ${OUTPUT}/${header} "${text}")
endforeach()
