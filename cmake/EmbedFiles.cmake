# Turns files into C++ arrays. Run as a script; see pdx_embed in PdxLibrary.cmake.
string(REPLACE "," ";" FILES "${FILES}")
set(header "#pragma once\n#include <string_view>\nnamespace ${NAMESPACE} {\n")
set(source "#include <string_view>\nnamespace ${NAMESPACE} {\n")
foreach(file IN LISTS FILES)
  get_filename_component(name ${file} NAME)
  string(REGEX REPLACE "[^A-Za-z0-9]" "_" name ${name})
  file(READ ${file} bytes HEX)
  string(LENGTH "${bytes}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND header "extern const std::string_view ${name};\n")
  string(APPEND source "static const char ${name}_bytes[] = {${bytes}};\n"
                       "extern const std::string_view ${name};\n"
                       "const std::string_view ${name}(${name}_bytes, ${size});\n")
endforeach()
file(WRITE ${HEADER} "${header}}\n")
file(WRITE ${SOURCE} "${source}}\n")
