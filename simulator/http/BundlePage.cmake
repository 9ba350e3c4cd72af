# Writes the parts of the live page, its style sheet and its modules, as one script, so that a browser asks for
# them at once. Each module becomes a function of its own that is called behind those that it imports.
#
# usage: cmake -D FOLDER=simulator/page -D OUTPUT=page.js -P BundlePage.cmake
cmake_minimum_required(VERSION 3.25)

cmake_path(SET FOLDER NORMALIZE "${FOLDER}")
file(GLOB modules "${FOLDER}/*.js")
set(waiting "")
foreach(module IN LISTS modules)
  cmake_path(GET module STEM name)
  file(READ "${module}" text)
  string(REGEX MATCHALL "from \"\\./[a-z]+\\.js\"" imports "${text}")
  list(TRANSFORM imports REPLACE "from \"\\./([a-z]+)\\.js\"" "\\1")
  string(REGEX MATCHALL "\nexport (async )?(const|class|function) [A-Za-z]+" exports "\n${text}")
  list(TRANSFORM exports REPLACE ".* ([A-Za-z]+)$" "\\1")
  list(JOIN exports ", " exports)
  string(REGEX REPLACE "import ({[^}]*}) from \"\\./([a-z]+)\\.js\";" "const \\1 = \\2Part;" text "${text}")
  string(REGEX REPLACE "\nexport (async |const |class |function )" "\n\\1" text "\n${text}")
  if(text MATCHES "\n(export|import) [^\n]*" OR text MATCHES "\nconst {[^}]* as [^}]*} = [a-z]+Part;")
    message(FATAL_ERROR "${name}.js: this form is not bundled:${CMAKE_MATCH_0}")
  endif()
  set(${name}_imports ${imports})
  set(${name}_text "const ${name}Part = (() => {${text}return { ${exports} };\n})();\n\n")
  list(APPEND waiting ${name})
endforeach()

set(script "")
set(written "")
while(waiting)
  set(left "")
  foreach(name IN LISTS waiting)
    set(missing ${${name}_imports})
    list(REMOVE_ITEM missing ${written})
    if(missing)
      list(APPEND left ${name})
    else()
      string(APPEND script "${${name}_text}")
      list(APPEND written ${name})
    endif()
  endforeach()
  if(left STREQUAL waiting)
    message(FATAL_ERROR "these modules import each other, or what is not there: ${left}")
  endif()
  set(waiting ${left})
endwhile()

file(READ "${FOLDER}/page.css" style)
string(REGEX REPLACE "([\\\\`$])" "\\\\\\1" style "${style}")
file(WRITE "${OUTPUT}" "\"use strict\";
(() => {
const style = new CSSStyleSheet();
style.replaceSync(`${style}`);
document.adoptedStyleSheets = [style];

const start = () => {
${script}};
if (document.readyState === \"loading\") document.addEventListener(\"DOMContentLoaded\", start);
else start();
})();
")
