# Installs the importer into an empty prefix and checks the bundle that results: same contents, and
# the platform library found beside it.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} --component importer
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
set(bundle ${PREFIX}/${DESTINATION}/SorrelTorrent.mdimporter)
execute_process(COMMAND ${PYTHON} -B ${CMAKE_CURRENT_LIST_DIR}/bundle_lint.py --nm ${NM} --readelf ${READELF}
                        --xmllint ${XMLLINT} ${bundle} ${CMAKE_CURRENT_LIST_DIR}/../../SpotlightImporter
                COMMAND_ERROR_IS_FATAL ANY)

execute_process(COMMAND ldd ${bundle}/Contents/Linux/SorrelTorrent OUTPUT_VARIABLE libraries
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "libsorrelplatform.so => ([^ ]+)" found "${libraries}")
get_filename_component(library "${CMAKE_MATCH_1}" REALPATH)
get_filename_component(expected ${PREFIX}/${DESTINATION}/libsorrelplatform.so REALPATH)
if(NOT library STREQUAL expected)
  message(FATAL_ERROR "the installed bundle uses ${library} instead of ${expected}")
endif()
