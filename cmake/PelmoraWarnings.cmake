# Warnings for the project's own targets. Third-party headers (Qt, GoogleTest)
# come in as system includes, so they add no noise.
function(pelmora_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
                         -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough)
  if(PELMORA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# One logic library per folder; the logic never links Qt.
function(pelmora_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  pelmora_warnings(${name})
endfunction()
