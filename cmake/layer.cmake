# One precompiled header for the layers and one, with the test framework, for the test programs. Under
# mingw only unoptimised programs have one: it takes the run-time's own headers out of the compiler's
# silence for system headers, and the optimiser's warnings about them are errors here.
set(tdefault_precompiled_headers
    <algorithm>
    <array>
    <charconv>
    <cstdint>
    <functional>
    <map>
    <memory>
    <optional>
    <span>
    <string>
    <string_view>
    <utility>
    <variant>
    <vector>)
if(TDEFAULT_PRECOMPILE AND NOT WIN32)
  file(WRITE ${PROJECT_BINARY_DIR}/precompiled.cpp "")
  add_library(tdefault_precompiled STATIC ${PROJECT_BINARY_DIR}/precompiled.cpp)
  target_link_libraries(tdefault_precompiled PUBLIC tdefault_flags)
  target_precompile_headers(tdefault_precompiled PRIVATE ${tdefault_precompiled_headers})
endif()

# tdefault_layer(NAME SOURCES... [DEPENDS layers...]): one static library per layer. Which layer may
# include which is docs/architecture.md's rule, checked by tools/tidy.py.
function(tdefault_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(tdefault_${name} STATIC ${ARG_SOURCES})
  target_link_libraries(tdefault_${name} PUBLIC tdefault_flags)
  if(TARGET tdefault_precompiled)
    target_precompile_headers(tdefault_${name} REUSE_FROM tdefault_precompiled)
  endif()
  foreach(layer IN LISTS ARG_DEPENDS)
    target_link_libraries(tdefault_${name} PUBLIC tdefault_${layer})
  endforeach()
endfunction()

# tdefault_test(NAME SOURCES... [LAYERS layers...] [LABELS labels...] [LOCK what]): one doctest
# program, one test NAME: starting a program, with sanitizers or under Wine, costs more than most of its
# cases. Tests with the same lock never run at the same time. A folder of tests that meet no operating
# system sets tdefault_test_labels.
function(tdefault_test name)
  cmake_parse_arguments(ARG "" "LOCK" "SOURCES;LAYERS;LABELS;LIBRARIES" ${ARGN})
  set(properties TIMEOUT 600 FAIL_REGULAR_EXPRESSION "test cases: +0")
  if(ARG_LOCK)
    list(APPEND properties RESOURCE_LOCK ${ARG_LOCK})
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tdefault_flags tdefault_test_main ${ARG_LIBRARIES})
  if(TARGET tdefault_precompiled_tests)
    target_precompile_headers(${name} REUSE_FROM tdefault_precompiled_tests)
  endif()
  foreach(layer IN LISTS ARG_LAYERS)
    target_link_libraries(${name} PRIVATE tdefault_${layer})
  endforeach()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES ${properties})
  set_property(TEST ${name} PROPERTY LABELS ${ARG_LABELS} ${tdefault_test_labels})
endfunction()
