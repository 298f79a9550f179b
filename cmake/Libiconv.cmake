# Character conversion: GNU libiconv where it is found, else the layer of ours in base/Libiconv.cpp
# that gives the same four functions over the C library's iconv.
#
# UMDFORMAT_ICONV: "auto" takes what is found, "libiconv" insists on GNU libiconv, "system" on ours.
set(UMDFORMAT_ICONV auto CACHE STRING "auto, libiconv or system")
set_property(CACHE UMDFORMAT_ICONV PROPERTY STRINGS auto libiconv system)

include(CheckCXXSymbolExists)

add_library(umdformat_iconv INTERFACE)
set(umdformat_have_libiconv FALSE)
if(NOT UMDFORMAT_ICONV STREQUAL "system")
    find_path(LIBICONV_INCLUDE_DIR iconv.h)
    find_library(LIBICONV_LIBRARY iconv)
    if(LIBICONV_INCLUDE_DIR AND LIBICONV_LIBRARY)
        set(CMAKE_REQUIRED_INCLUDES ${LIBICONV_INCLUDE_DIR})
        set(CMAKE_REQUIRED_LIBRARIES ${LIBICONV_LIBRARY})
        check_cxx_symbol_exists(libiconvctl iconv.h umdformat_libiconv_works)
        unset(CMAKE_REQUIRED_INCLUDES)
        unset(CMAKE_REQUIRED_LIBRARIES)
        set(umdformat_have_libiconv ${umdformat_libiconv_works})
    endif()
endif()

if(umdformat_have_libiconv)
    target_compile_definitions(umdformat_iconv INTERFACE UMDFORMAT_HAVE_LIBICONV=1)
    target_include_directories(umdformat_iconv INTERFACE ${LIBICONV_INCLUDE_DIR})
    target_link_libraries(umdformat_iconv INTERFACE ${LIBICONV_LIBRARY})
    message(STATUS "Character conversion: GNU libiconv (${LIBICONV_LIBRARY})")
elseif(UMDFORMAT_ICONV STREQUAL "libiconv")
    message(FATAL_ERROR "UMDFORMAT_ICONV is libiconv, but GNU libiconv was not found")
else()
    message(STATUS "Character conversion: the C library's iconv")
endif()
