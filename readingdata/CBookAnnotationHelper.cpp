#include "readingdata/CBookAnnotationHelper.h"

#include <memory>
#include <new>

#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/QvpFormat.h"

namespace QvFormat {

int CBookAnnotationHelper::SaveAnnotationToBuffer(IBookAnnotation* annotation, QvAnnotationType,
                                                  unsigned char* buffer, unsigned int size) {
    unsigned int dataSize = 0;
    QvBookmarkType bookmarkType = QvBookmarkDefault;
    if (!buffer || !annotation || size == 0 || annotation->GetDataSize(&dataSize) != QV_S_OK ||
        dataSize > size - QvpFormat::kBookmarkTypeSize ||
        annotation->GetBookmarkType(&bookmarkType) != QV_S_OK)
        return 0;
    buffer[0] = static_cast<unsigned char>(bookmarkType);
    return annotation->WriteData(buffer + QvpFormat::kBookmarkTypeSize,
                                 size - QvpFormat::kBookmarkTypeSize) == QV_S_OK;
}

CBookAnnotationImpl* CBookAnnotationHelper::CreateAnnotationFromBuffer(unsigned char const* buffer,
                                                                       unsigned int size,
                                                                       QvAnnotationType type) {
    if (!buffer || size == 0 || buffer[0] != QvBookmarkDefault)
        return nullptr;
    std::unique_ptr<CBookAnnotationImpl> annotation(new (std::nothrow) CBookAnnotationImpl(type));
    unsigned int dataSize = 0; // asked for because a type that does not exist has none
    if (!annotation || annotation->GetDataSize(&dataSize) != QV_S_OK ||
        annotation->ReadData(buffer + QvpFormat::kBookmarkTypeSize,
                             size - QvpFormat::kBookmarkTypeSize) != QV_S_OK)
        return nullptr;
    return annotation.release();
}

} // namespace QvFormat
