#pragma once

#include <memory>

#include "IQVSequentialStream.h"

namespace QvFormat {

// Releases what the global operator new gave.
struct OperatorDelete {
    void operator()(unsigned char* buffer) const { ::operator delete(buffer); }
};

// A byte stream over a fixed buffer in memory. One thread at a time; the stream owns the buffer.
// The buffer never grows: reads and writes stop at its end and the position stays within it.
class UMDFORMAT_API CMemoryStream : public IQVSequentialStream {
public:
    // Takes ownership of `buffer`, which must come from the global operator new (not new[]) and is
    // released by Close or with the stream. A null buffer gives a stream that is not open; a
    // negative length counts as 0.
    CMemoryStream(unsigned char* buffer, long length);
    ~CMemoryStream() override;

    QVRESULT Read(unsigned char* buffer, int count, int* read) override;
    // At the end stores -1 and returns QV_E_FAIL.
    QVRESULT ReadByte(int* value) override;
    // A target outside the buffer becomes the nearer of its ends.
    QVRESULT Seek(long offset, SeekMode mode, long* position) override;

    // Always 1. A null pointer is accepted.
    QVRESULT GetCanRead(int* canRead) override;
    QVRESULT GetCanSeek(int* canSeek) override;
    QVRESULT GetCanWrite(int* canWrite) override;

    QVRESULT GetLength(long* length) override;
    QVRESULT Tell(long* position) override;
    QVRESULT Close() override;

    // QV_E_NOTIMPL, open or not: nothing is buffered.
    QVRESULT Flush() override;

    // Bytes beyond the end are dropped: the count stored is smaller then, the result QV_S_OK.
    QVRESULT Write(unsigned char* buffer, int count, int* written) override;
    // At the end: QV_E_FAIL.
    QVRESULT WriteByte(unsigned char value) override;

protected:
    UMDFORMAT_HIDDEN int CountThatFits(int count) const;

    std::unique_ptr<unsigned char, OperatorDelete> m_pBuffer; // null: not open
    long m_nLength;
    long m_nPosition = 0; // 0 to m_nLength
};

static_assert(sizeof(void*) != 4 || sizeof(CMemoryStream) == 16);

} // namespace QvFormat
