# The imported target sorrel_foundation: Foundation with what a plug-in needs around it.
#
# On macOS these are the system's frameworks. Elsewhere it is GNUstep's Foundation; the missing
# CoreFoundation and CoreServices names are added by platform/gnustep.
add_library(sorrel_foundation INTERFACE)
if(APPLE)
  target_link_libraries(sorrel_foundation INTERFACE "-framework Foundation" "-framework CoreFoundation"
                                                    "-framework CoreServices" objc)
  return()
endif()

find_program(GNUSTEP_CONFIG gnustep-config REQUIRED)
foreach(kind objc-flags base-libs)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --${kind} OUTPUT_VARIABLE gnustep_${kind}
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT gnustep_${kind})
    message(FATAL_ERROR "gnustep-config --${kind} says nothing; it needs make")
  endif()
  separate_arguments(gnustep_${kind} UNIX_COMMAND "${gnustep_${kind}}")
endforeach()
# Keep what selects the runtime; the rest (optimisation, dependency files, include paths) is ours.
list(FILTER gnustep_objc-flags EXCLUDE REGEX "^-(MMD|MP|O.|g|Wall|I.*|Wno-import|fPIC)$")
list(FILTER gnustep_base-libs EXCLUDE REGEX "^-(L.*|shared-libgcc|rdynamic|pthread)$")
find_path(GNUSTEP_HEADERS Foundation/Foundation.h PATH_SUFFIXES GNUstep REQUIRED)
target_include_directories(sorrel_foundation SYSTEM INTERFACE ${GNUSTEP_HEADERS})
# CMake 3.25 knows no language standards for GCC's Objective-C++.
set(objcxx_flags -Wno-subobject-linkage)
if(CMAKE_OBJCXX_COMPILER_ID STREQUAL Clang)
  # The runtime is GCC's, and its headers are where only GCC looks.
  execute_process(COMMAND g++ -print-file-name=include OUTPUT_VARIABLE gcc_headers OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  set(objcxx_flags -fobjc-runtime=gcc -idirafter${gcc_headers})
  target_sources(sorrel_foundation INTERFACE ${PROJECT_SOURCE_DIR}/platform/gnustep/clang_personality.cpp)
endif()
target_compile_options(sorrel_foundation INTERFACE
                       $<$<COMPILE_LANGUAGE:OBJCXX>:${gnustep_objc-flags};-std=c++20;${objcxx_flags}>)
target_link_libraries(sorrel_foundation INTERFACE ${gnustep_base-libs})
find_package(Threads REQUIRED)
target_link_libraries(sorrel_foundation INTERFACE Threads::Threads)
