# Installs everything, moves the result elsewhere and runs the program there: it must find its bundle
# and its libraries beside itself.
file(REMOVE_RECURSE ${PREFIX} ${PREFIX}-moved)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${PREFIX} ${PREFIX}-moved)
set(installed --program ${PREFIX}-moved/bin/mdtorrent
              --bundle ${PREFIX}-moved/lib/sorrel-torrent/SorrelTorrent.mdimporter)
execute_process(COMMAND ${PYTHON} -B ${CMAKE_CURRENT_LIST_DIR}/failures_test.py ${installed} Bundles
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${PYTHON} -B ${CMAKE_CURRENT_LIST_DIR}/formats_test.py ${installed} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ldd ${PREFIX}-moved/bin/mdtorrent OUTPUT_VARIABLE libraries COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "libsorrelplatform.so => ([^ ]+)" found "${libraries}")
get_filename_component(library "${CMAKE_MATCH_1}" REALPATH)
get_filename_component(expected ${PREFIX}-moved/lib/sorrel-torrent/libsorrelplatform.so REALPATH)
if(NOT library STREQUAL expected)
  message(FATAL_ERROR "the installed program uses ${library} instead of ${expected}")
endif()
