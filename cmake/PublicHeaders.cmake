# The headers of exported classes, which stand in their subsystem's folder; a host includes them as
# "umd/CUMDHandler.h", and what those include. Everything in include/ is public too.
set(public_class_headers
    base/CFileStream.h
    base/CMemoryStream.h
    base/CUtility.h
    base/Handles.h
    base/LittleEndian.h
    layout/CPangoLayout.h
    layout/CTextFont.h
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
    readingdata/QvpFormat.h
    readingdata/QvpRecordScan.h
    readingdata/Qvp_Node.h
    render/CUMDRenderImpl.h
    render/CUmdCustomizer.h
    umd/CUMDHandler.h)
