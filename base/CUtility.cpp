#include "base/CUtility.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include <sys/stat.h>

#include "base/CharsetConverter.h"

namespace QvFormat {
namespace {

bool NamesNoEncoding(CharsetEncoding encoding) {
    return encoding == 11 || encoding == 12;
}

char SmallLetter(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 0x20) : letter;
}

} // namespace

QV_RECT CUtility::GetIntersectRect(const QV_RECT& first, const QV_RECT& second) {
    const QV_RECT common = {std::max(first.left, second.left), std::max(first.top, second.top),
                            std::min(first.right, second.right),
                            std::min(first.bottom, second.bottom)};
    if (common.left < common.right && common.top < common.bottom)
        return common;
    return QV_RECT{0, 0, 0, 0};
}

int CUtility::IsEmptyRect(QV_RECT rect) {
    return rect.left == rect.right || rect.top == rect.bottom;
}

const char* CUtility::GetEncodingString(CharsetEncoding encoding) {
    static const char* const names[] = {"",         "BIG5",      "GB18030",  "UTF-8",
                                        "UTF-16LE", "UTF-16BE",  "UTF-32LE", "UTF-32BE",
                                        "EUC-JP",   "SHIFT_JIS", "EUC-KR"};
    if (encoding < 0 || encoding >= static_cast<int>(std::size(names)))
        return "";
    return names[encoding];
}

QVRESULT CUtility::ConvertEncoding(CharsetEncoding to, CharsetEncoding from, const char* in,
                                   unsigned int inSize, char* out, unsigned int outSize,
                                   unsigned long* written, int discard, int transliterate) {
    if (NamesNoEncoding(to) || NamesNoEncoding(from) || !in || !out)
        return QV_E_INVALIDARG;
    return CharsetConverter(to, from, discard, transliterate)
        .Convert(in, inSize, out, outSize, written);
}

int CUtility::StringEndWith(const char* string, const char* suffix, int ignoreCase) {
    if (!string || !suffix)
        return 0;
    const std::size_t length = std::strlen(string);
    const std::size_t suffixLength = std::strlen(suffix);
    if (suffixLength > length)
        return 0;
    const auto same = [ignoreCase](char a, char b) {
        return ignoreCase ? SmallLetter(a) == SmallLetter(b) : a == b;
    };
    return std::equal(suffix, suffix + suffixLength, string + (length - suffixLength), same);
}

char* CUtility::ReplaceChar(char* string, char replacement, char target) {
    if (string)
        std::replace(string, string + std::strlen(string), target, replacement);
    return string;
}

int CUtility::CheckFileExistence(const char* path) {
    if (!path || path[0] == '\0')
        return 0;
    struct stat status = {};
    return stat(path, &status) == 0 || errno != ENOENT;
}

} // namespace QvFormat
