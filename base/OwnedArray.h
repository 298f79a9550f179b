// Arrays from new[] that report a lack of memory instead of throwing, whatever the count.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace QvFormat {

// The size of a pointer; released with delete[], also by whoever it is handed out to.
template<typename T>
using OwnedArray = std::unique_ptr<T[]>;

// `count` zeroed elements; null when memory runs out.
template<typename T>
OwnedArray<T> NewArray(std::size_t count) {
    if (count > PTRDIFF_MAX / sizeof(T) - 1) // the array form may add a word for the count
        return nullptr;
    return OwnedArray<T>(new (std::nothrow) T[count]());
}

// A copy of `count` elements (`elements` may be null for none); null when memory runs out.
template<typename T>
OwnedArray<T> CopyArray(const T* elements, std::size_t count) {
    OwnedArray<T> copy = NewArray<T>(count);
    if (copy)
        std::copy_n(elements, count, copy.get());
    return copy;
}

// A copy of `length` bytes with a NUL after them; null when memory runs out.
inline OwnedArray<char> CopyString(const char* text, std::size_t length) {
    OwnedArray<char> copy = NewArray<char>(length + 1);
    if (copy)
        std::copy_n(text, length, copy.get());
    return copy;
}

inline OwnedArray<char> CopyString(const char* text) {
    return CopyString(text, std::strlen(text));
}

} // namespace QvFormat
