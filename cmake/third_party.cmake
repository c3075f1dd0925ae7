# Header-only libraries of tests, benchmarks and the host program, from Debian's packages. They are
# linked into a folder of the build tree, because a cross compiler must not see /usr/include.
set(third_party_include ${PROJECT_BINARY_DIR}/third_party/include)
file(MAKE_DIRECTORY ${third_party_include})

function(tdefault_header_library name)
  if(NOT EXISTS /usr/include/${name})
    message(FATAL_ERROR "${name}: headers not installed; run scripts/setup.sh")
  endif()
  file(CREATE_LINK /usr/include/${name} ${third_party_include}/${name} SYMBOLIC)
endfunction()

tdefault_header_library(doctest)
tdefault_header_library(nlohmann)
tdefault_header_library(CLI)

add_library(tdefault_third_party INTERFACE)
target_include_directories(tdefault_third_party SYSTEM INTERFACE ${third_party_include})
