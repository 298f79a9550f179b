#pragma once

namespace QvFormat {

// What an annotation carries besides the place it begins at.
enum QvAnnotationType : int {
    QvAnnotationPosition = 0, // nothing
    QvAnnotationRange = 1,    // a length
    QvAnnotationComment = 2,  // a length and a comment
};

} // namespace QvFormat
