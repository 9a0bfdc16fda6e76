# Every target of ours is made here, so that warnings, include root and aliases are stated once.

function(pdx_configure target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
  if(POCKETDEX_SANITIZE)
    target_compile_options(${target} PUBLIC -fsanitize=${POCKETDEX_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${POCKETDEX_SANITIZE})
  endif()
endfunction()

# pdx_library(NAME SOURCES ... [USES pdx::x ...] [PRIVATE_LIBS lib ...])
# USES names libraries of ours; PRIVATE_LIBS are third-party ones that only the .cpp files see.
function(pdx_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES;PRIVATE_LIBS;PUBLIC_LIBS" ${ARGN})
  add_library(pdx_${name} STATIC ${arg_SOURCES})
  add_library(pdx::${name} ALIAS pdx_${name})
  pdx_configure(pdx_${name})
  target_link_libraries(pdx_${name} PUBLIC ${arg_USES} ${arg_PUBLIC_LIBS} PRIVATE ${arg_PRIVATE_LIBS})
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set_property(GLOBAL APPEND PROPERTY PDX_LINK_GRAPH "${name}|${folder}|${arg_USES}")
endfunction()

# pdx_embed(TARGET NAMESPACE FILE...): makes each file's bytes available as a std::string_view of that
# namespace, declared in "<target>_embedded.h" under the file's name with dots and dashes as underscores.
function(pdx_embed target namespace)
  set(header ${CMAKE_CURRENT_BINARY_DIR}/embedded/${target}_embedded.h)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/embedded/${target}_embedded.cpp)
  set(script ${PROJECT_SOURCE_DIR}/cmake/EmbedFiles.cmake)
  set(files)
  foreach(file ${ARGN})
    list(APPEND files ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  endforeach()
  string(REPLACE ";" "," joined "${files}")
  add_custom_command(
    OUTPUT ${header} ${source}
    COMMAND ${CMAKE_COMMAND} -DFILES=${joined} -DNAMESPACE=${namespace} -DHEADER=${header}
            -DSOURCE=${source} -P ${script}
    DEPENDS ${files} ${script} VERBATIM)
  target_sources(pdx_${target} PRIVATE ${header} ${source})
  target_include_directories(pdx_${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/embedded)
endfunction()

# Writes what links what, for the test that checks #include lines against it.
function(pdx_write_link_graph)
  get_property(graph GLOBAL PROPERTY PDX_LINK_GRAPH)
  set(text "")
  foreach(entry IN LISTS graph)
    if(entry MATCHES "\\|")
      string(APPEND text "\n${entry}")
    else()
      string(APPEND text " ${entry}")  # A further USES entry of the library before it.
    endif()
  endforeach()
  file(WRITE ${PROJECT_BINARY_DIR}/link-graph.txt "${text}\n")
endfunction()
