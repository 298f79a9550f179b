# The API reference in docs/api/ of the build, from the public headers and docs/: the target `reference`.
# A warning fails it: everything public is documented.
find_program(DOXYGEN doxygen)
if(NOT DOXYGEN)
    return()
endif()
file(GLOB documents CONFIGURE_DEPENDS docs/*.md docs/reference/*.md)
set(reference_files ${documents})
foreach(header IN LISTS interface_headers)
    list(APPEND reference_files ${CMAKE_CURRENT_SOURCE_DIR}/include/${header})
endforeach()
foreach(header IN LISTS public_class_headers)
    list(APPEND reference_files ${CMAKE_CURRENT_SOURCE_DIR}/${header})
endforeach()
list(TRANSFORM reference_files REPLACE "(.+)" "\"\\1\"" OUTPUT_VARIABLE reference_input)
list(JOIN reference_input " " reference_input)
set(reference_warnings YES)
configure_file(docs/reference/Doxyfile.in Doxyfile @ONLY)
add_custom_target(reference COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/docs
                            COMMAND ${DOXYGEN} ${CMAKE_BINARY_DIR}/Doxyfile
                  VERBATIM)
