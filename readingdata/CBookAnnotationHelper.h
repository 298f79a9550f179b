#pragma once

#include "QvAnnotationType.h"
#include "QvExport.h"

namespace QvFormat {

class CBookAnnotationImpl;
class IBookAnnotation;

// Annotations in buffer form: one byte for the bookmark type, then the annotation's stored form.
class UMDFORMAT_API CBookAnnotationHelper {
public:
    CBookAnnotationHelper() = delete;

    // Writes the buffer form of an annotation of any type; `type` is not consulted. 1 on success;
    // 0 for a null, a buffer that is too small (nothing is written) or an annotation that fails.
    static int SaveAnnotationToBuffer(IBookAnnotation* annotation, QvAnnotationType type,
                                      unsigned char* buffer, unsigned int size);

    // A new annotation that the caller releases with delete. Null: null or too small a buffer, a
    // bookmark type other than 0, a comment without its end, no such `type`, or no memory.
    static CBookAnnotationImpl* CreateAnnotationFromBuffer(unsigned char const* buffer,
                                                           unsigned int size,
                                                           QvAnnotationType type);
};

} // namespace QvFormat
