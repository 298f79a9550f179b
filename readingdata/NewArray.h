// Arrays from new[] that report a lack of memory instead of throwing, whatever the count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace QvFormat {

// `count` zeroed elements; null when memory runs out.
template<typename T>
std::unique_ptr<T[]> NewArray(std::size_t count) {
    if (count > PTRDIFF_MAX / sizeof(T) - 1) // the array form may add a word for the count
        return nullptr;
    return std::unique_ptr<T[]>(new (std::nothrow) T[count]());
}

// A copy of `length` bytes with a NUL behind them; null when memory runs out.
inline std::unique_ptr<char[]> CopyString(const char* text, std::size_t length) {
    std::unique_ptr<char[]> copy = NewArray<char>(length + 1);
    if (copy)
        std::memcpy(copy.get(), text, length);
    return copy;
}

inline std::unique_ptr<char[]> CopyString(const char* text) {
    return CopyString(text, std::strlen(text));
}

} // namespace QvFormat
