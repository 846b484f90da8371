# The two interface targets that carry the project's flags.

# For every target: the repository root as the only include directory, and the sanitizers.
add_library(sorrel_options INTERFACE)
target_include_directories(sorrel_options INTERFACE ${PROJECT_SOURCE_DIR})
if(SORREL_SANITIZE)
  # The library is built without the type information that the vptr check needs.
  target_compile_options(sorrel_options INTERFACE -fsanitize=${SORREL_SANITIZE} -fno-sanitize=vptr
                                                  -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(sorrel_options INTERFACE -fsanitize=${SORREL_SANITIZE})
endif()

# For C++ targets: warnings are errors. Platform headers in Objective-C++ do not survive -Wpedantic.
add_library(sorrel_warnings INTERFACE)
target_compile_options(sorrel_warnings INTERFACE -Wall -Wextra -Werror -Wshadow
                                                 $<$<COMPILE_LANGUAGE:CXX>:-Wpedantic -Wconversion>)
target_link_libraries(sorrel_warnings INTERFACE sorrel_options)
