# What the library is compiled with, looked for while the build is configured: a compiler's error in
# the middle of a build does not say which package is missing.
include(CheckIncludeFileCXX)

function(kestrove_require name header package)
  string(TOUPPER KESTROVE_HAS_${name} result)
  check_include_file_cxx(${header} ${result})
  if(NOT ${result})
    unset(${result} CACHE) # looked for again once it is installed
    message(FATAL_ERROR "${name} is missing (<${header}>). Install its package:\n"
      "  apt-get install ${package}\n"
      "or add the directory of its headers to CMAKE_CXX_FLAGS.")
  endif()
endfunction()

kestrove_require(Asio asio/version.hpp libasio-dev)
kestrove_require(msgpack msgpack/version.hpp libmsgpack-cxx-dev)
