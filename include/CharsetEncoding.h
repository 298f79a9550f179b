#pragma once

namespace QvFormat {

// Character encodings; CUtility::GetEncodingString gives each one's name. 11 and 12 name none.
enum CharsetEncoding : int {
    CharsetBig5 = 1,
    CharsetGB18030 = 2,
    CharsetUTF8 = 3,
    CharsetUTF16LE = 4,
    CharsetUTF16BE = 5,
    CharsetUTF32LE = 6,
    CharsetUTF32BE = 7,
    CharsetEUCJP = 8,
    CharsetShiftJIS = 9,
    CharsetEUCKR = 10,
};

} // namespace QvFormat
