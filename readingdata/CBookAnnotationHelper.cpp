#include "readingdata/CBookAnnotationHelper.h"

#include <memory>
#include <new>

#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/QvpFormat.h"

namespace QvFormat {

int CBookAnnotationHelper::SaveAnnotationToBuffer(IBookAnnotation* annotation, QvAnnotationType,
                                                  unsigned char* buffer, unsigned int size) {
    unsigned int dataSize = 0;
    if (!buffer || !annotation || size == 0 || annotation->GetDataSize(&dataSize) != QV_S_OK ||
        dataSize > size - QvpFormat::kBookmarkTypeSize)
        return 0;
    QvBookmarkType bookmarkType = QvBookmarkDefault;
    if (annotation->GetBookmarkType(&bookmarkType) != QV_S_OK)
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
    unsigned int dataSize = 0;
    if (!annotation || annotation->GetDataSize(&dataSize) != QV_S_OK ||
        dataSize > size - QvpFormat::kBookmarkTypeSize ||
        annotation->ReadData(buffer + QvpFormat::kBookmarkTypeSize,
                             size - QvpFormat::kBookmarkTypeSize) != QV_S_OK)
        return nullptr;
    return annotation.release();
}

} // namespace QvFormat
