# tdefault_layer(NAME SOURCES... [DEPENDS layers...]): one static library per layer. Which layer may
# include which is docs/architecture.md's rule, checked by tools/tidy.py.
function(tdefault_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(tdefault_${name} STATIC ${ARG_SOURCES})
  set_target_properties(tdefault_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(tdefault_${name} PUBLIC tdefault_flags)
  foreach(layer IN LISTS ARG_DEPENDS)
    target_link_libraries(tdefault_${name} PUBLIC tdefault_${layer})
  endforeach()
endfunction()

# tdefault_test(NAME SOURCES... [LAYERS layers...] [LABELS labels...]): one doctest program whose
# cases are registered with ctest one by one, each named NAME: case.
function(tdefault_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LAYERS;LABELS;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tdefault_flags tdefault_test_main ${ARG_LIBRARIES})
  foreach(layer IN LISTS ARG_LAYERS)
    target_link_libraries(${name} PRIVATE tdefault_${layer})
  endforeach()
  doctest_discover_tests(${name} TEST_PREFIX "${name}: " PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT
                         600)
endfunction()
