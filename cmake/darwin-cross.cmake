# Toolchain: builds the bundle for macOS on Linux with clang, lld and the headers and link stubs of
# platform/darwin/sdk. CMAKE_OSX_ARCHITECTURES chooses the slices, x86_64, arm64 or both.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 17.0)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_OSX_ARCHITECTURES x86_64 CACHE STRING "Slices of the bundle")
# The compiler raises it to 11.0 for arm64 by itself.
set(CMAKE_OSX_DEPLOYMENT_TARGET 10.13 CACHE STRING "Oldest macOS that the bundle runs on")

get_filename_component(darwin_root ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)
set(darwin_sdk ${darwin_root}/platform/darwin/sdk)
set(CMAKE_OSX_SYSROOT ${darwin_sdk} CACHE PATH "Headers and link stubs")
set(CMAKE_FIND_ROOT_PATH ${darwin_sdk})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

set(SORREL_LLVM /usr/lib/llvm-19/bin CACHE PATH "Folder of clang, lld and the LLVM tools")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES SORREL_LLVM)
set(CMAKE_AR ${SORREL_LLVM}/llvm-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${SORREL_LLVM}/llvm-ranlib CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL ${SORREL_LLVM}/llvm-install-name-tool CACHE FILEPATH "")

# For two slices clang runs a program named lipo.
set(darwin_tools ${CMAKE_BINARY_DIR}/darwin-tools)
if(NOT EXISTS ${darwin_tools}/lipo)
  file(MAKE_DIRECTORY ${darwin_tools})
  file(CREATE_LINK ${SORREL_LLVM}/llvm-lipo ${darwin_tools}/lipo SYMBOLIC)
endif()

# Search paths and versions of the caller's environment would reach the compiler and the linker.
set(darwin_environment env -u CPATH -u C_INCLUDE_PATH -u CPLUS_INCLUDE_PATH -u OBJC_INCLUDE_PATH
                       -u OBJCPLUS_INCLUDE_PATH -u LIBRARY_PATH -u SDKROOT -u MACOSX_DEPLOYMENT_TARGET
                       -u SOURCE_DATE_EPOCH -u CCC_OVERRIDE_OPTIONS)
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_COMPILER ${SORREL_LLVM}/clang++)
  set(CMAKE_${language}_COMPILER_TARGET x86_64-apple-macosx${CMAKE_OSX_DEPLOYMENT_TARGET})
  # The C++ library of the build machine must not be found, nor the names of its folders in the product.
  set(CMAKE_${language}_FLAGS_INIT "\"-B${darwin_tools}\" --no-default-config -nostdinc++ \
-cxx-isystem \"${darwin_sdk}/usr/include/c++/v1\" \"-ffile-prefix-map=${darwin_root}/=\"")
  set(CMAKE_${language}_COMPILER_LAUNCHER ${darwin_environment})
  if(CCACHE)
    list(APPEND CMAKE_${language}_COMPILER_LAUNCHER ${CCACHE})
  endif()
  set(CMAKE_${language}_LINKER_LAUNCHER ${darwin_environment})
  # The usual archiver makes no index of objects with two slices.
  set(CMAKE_${language}_CREATE_STATIC_LIBRARY "${SORREL_LLVM}/llvm-libtool-darwin -static -o <TARGET> <OBJECTS>")
endforeach()
set(CMAKE_MODULE_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld)
