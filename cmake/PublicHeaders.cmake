# The headers of exported classes, which stand in their subsystem's folder; a host includes them as
# "umd/CUMDHandler.h", and what those include. Everything in include/ is public too.
set(public_class_headers
    base/CFileStream.h
    base/CMemoryStream.h
    base/CUtility.h
    base/Handles.h
    layout/CPangoLayout.h
    layout/CTextFont.h
    layout/GObjectPtr.h
    readingdata/CBookAnnotationHelper.h
    readingdata/CBookAnnotationImpl.h
    readingdata/CBookAnnotationListProxy.h
    readingdata/CBookAnnotationProxyBase.h
    readingdata/CBookIndexProxyImpl.h
    readingdata/CBookInfoManager.h
    readingdata/CBookInfoProxyImpl.h
    readingdata/CBookPathTableProxyImpl.h
    readingdata/CBookTagProxyImpl.h
    readingdata/CQvpFile.h
    readingdata/Qvp_Node.h
    render/CUMDRenderImpl.h
    render/CUmdCustomizer.h
    umd/CUMDHandler.h)

# The same headers as an installation has them, and no others: what uses the library from this tree
# includes from here.
set(public_include_dir ${CMAKE_BINARY_DIR}/include)
file(GLOB interface_headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR}/include
     ${CMAKE_CURRENT_SOURCE_DIR}/include/*.h)
file(REMOVE_RECURSE ${public_include_dir})
file(MAKE_DIRECTORY ${public_include_dir})
foreach(header IN LISTS interface_headers)
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/include/${header} ${public_include_dir}/${header}
         SYMBOLIC)
endforeach()
foreach(header IN LISTS public_class_headers)
    get_filename_component(folder ${header} DIRECTORY)
    file(MAKE_DIRECTORY ${public_include_dir}/${folder})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${public_include_dir}/${header} SYMBOLIC)
endforeach()
