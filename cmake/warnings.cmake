# Flags that every target of the project gets.
add_library(tdefault_flags INTERFACE)
target_compile_options(tdefault_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                -Wnon-virtual-dtor -Werror)
# g++ 12 reports overlapping copies inside std::string's own code where there are none.
target_compile_options(tdefault_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(CMAKE_UNITY_BUILD)
  # A source that is built together with others counts as a header.
  target_compile_options(tdefault_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()
# The compiler looks for memory to use again only from 1 GB on, a tenth of its time.
target_compile_options(tdefault_flags
                       INTERFACE $<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=1000000>)
target_include_directories(tdefault_flags INTERFACE ${PROJECT_SOURCE_DIR}/src)

if(TDEFAULT_SANITIZE)
  target_compile_options(tdefault_flags INTERFACE -fsanitize=address,undefined
                                                  -fno-sanitize-recover=all
                                                  -fno-omit-frame-pointer)
  target_link_options(tdefault_flags INTERFACE -fsanitize=address,undefined)
endif()

if(TDEFAULT_FUZZ)
  target_compile_options(tdefault_flags INTERFACE -fsanitize=fuzzer-no-link,address,undefined
                                                  -fno-sanitize-recover=all)
  target_link_options(tdefault_flags INTERFACE -fsanitize=address,undefined)
endif()

if(WIN32)
  # The ANSI calls are named with their A; UNICODE settles what a bare name means. 0x0601: Windows 7.
  target_compile_definitions(
    tdefault_flags INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN STRICT _WIN32_WINNT=0x0601)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Numbers are calculated in 64 bits as on every other target: the older unit's 80 bits would make
    # some compare and convert differently. Callers of the system align the stack to 4 bytes only.
    target_compile_options(tdefault_flags INTERFACE -msse2 -mfpmath=sse -mstackrealign)
  endif()
  # Static run-time: nothing but system DLLs is imported.
  target_link_options(tdefault_flags INTERFACE -static)
  # The same sources give the same bytes.
  target_link_options(tdefault_flags INTERFACE -Wl,--no-insert-timestamp)
endif()
