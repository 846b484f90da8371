# Where the plug-in bundle and what it needs lie, in the build tree and when installed.
include(GNUInstallDirs)

if(APPLE)
  # CMake's own bundle support makes the folders, Contents/MacOS among them.
  set(SORREL_BUNDLE_DESTINATION Library/Spotlight)
else()
  # The folder of Contents that holds the executable.
  set(SORREL_EXECUTABLE_FOLDER Linux)
  # The bundle and the platform library side by side.
  set(SORREL_BUNDLE_DESTINATION lib/sorrel-torrent)
  # What an installed program in the bin folder needs to find the platform library.
  file(RELATIVE_PATH SORREL_PROGRAM_RPATH /${CMAKE_INSTALL_BINDIR} /${SORREL_BUNDLE_DESTINATION})
  set(SORREL_PROGRAM_RPATH "$ORIGIN/${SORREL_PROGRAM_RPATH}")
endif()
set(SORREL_BUNDLE ${CMAKE_BINARY_DIR}/SorrelTorrent.mdimporter)
