# What the project's targets are compiled and linked with.

# For every target: the repository root as the only include directory, and the sanitizers.
add_library(sorrel_options INTERFACE)
target_include_directories(sorrel_options INTERFACE ${PROJECT_SOURCE_DIR})
if(SORREL_SANITIZE)
  # The library is built without the type information that the vptr check needs.
  target_compile_options(sorrel_options INTERFACE -fsanitize=${SORREL_SANITIZE} -fno-sanitize=vptr
                                                  -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(sorrel_options INTERFACE -fsanitize=${SORREL_SANITIZE})
endif()
if(SORREL_FUZZERS)
  target_compile_options(sorrel_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(SORREL_COVERAGE)
  # Counters that are a shared mapping of their file, so that processes which end by a signal count too; exact also
  # when several threads or processes count at once.
  set(coverage -fprofile-instr-generate -fprofile-update=atomic)
  target_compile_options(sorrel_options INTERFACE ${coverage} -fcoverage-mapping
                                                  "SHELL:-mllvm -runtime-counter-relocation")
  target_link_options(sorrel_options INTERFACE ${coverage})
endif()

# For C++ targets: warnings are errors. Platform headers in Objective-C++ do not survive -Wpedantic.
add_library(sorrel_warnings INTERFACE)
target_compile_options(sorrel_warnings INTERFACE -Wall -Wextra -Werror -Wshadow
                                                 $<$<COMPILE_LANGUAGE:CXX>:-Wpedantic -Wconversion>)
target_link_libraries(sorrel_warnings INTERFACE sorrel_options)

# For shared objects: every name they use is found when they are linked. Clang's sanitizers are the exception:
# their names come from the program.
set(SORREL_NO_UNDEFINED LINKER:-z,defs)
if(SORREL_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL Clang)
  set(SORREL_NO_UNDEFINED "")
endif()
