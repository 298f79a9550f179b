# The headers of exported classes, which stand in their subsystem's folder; a host includes them as
# "umd/CUMDHandler.h", and what those include. Everything in include/ is public too.
set(public_class_headers
    base/CFileStream.h
    base/CMemoryStream.h
    base/CUtility.h
    base/Handles.h
    layout/CPangoLayout.h
    render/CUMDRenderImpl.h
    render/CUmdCustomizer.h
    umd/CUMDHandler.h)
