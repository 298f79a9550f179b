// Result codes of the interface operations.
#pragma once

#include <cstdint>

namespace QvFormat {

// 0 is success, a negative value a failure. Two operations return the positive value 1:
// CFileStream::Flush and IFormatRender::GetScreenRes, see there.
// The numbers are part of the binary interface and never change.
using QVRESULT = std::int32_t;

// Success.
constexpr QVRESULT QV_S_OK = 0;
// The operation is not provided.
constexpr QVRESULT QV_E_NOTIMPL = static_cast<QVRESULT>(0x80000001u);
// An allocation failed.
constexpr QVRESULT QV_E_OUTOFMEMORY = static_cast<QVRESULT>(0x80000002u);
// A null pointer, a count of 0 or less, or a value out of range.
constexpr QVRESULT QV_E_INVALIDARG = static_cast<QVRESULT>(0x80000003u);
// A null argument to the factory, or a null out-pointer to GetTextCustomizer.
constexpr QVRESULT QV_E_POINTER = static_cast<QVRESULT>(0x80000005u);
// The operation failed: missing or damaged record, unreadable book, end of data, failed conversion.
constexpr QVRESULT QV_E_FAIL = static_cast<QVRESULT>(0x80000008u);
// The object is not ready: renderer not initialised, stream or container not open.
constexpr QVRESULT QV_E_NOTREADY = static_cast<QVRESULT>(0x8000000au);

} // namespace QvFormat
