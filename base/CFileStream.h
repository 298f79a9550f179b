#pragma once

#include "IQVSequentialStream.h"
#include "base/Handles.h"

namespace QvFormat {

// A byte stream over a file, through stdio. One thread at a time; the stream owns the file. Apart
// from ReadByte, WriteByte and Flush no operation reports an error of the file: Read and Write show
// it in the count they store, Seek in the position.
class UMDFORMAT_API CFileStream : public IQVSequentialStream {
public:
    // Opens `path`, which is only read during the call. When that fails, or `path` is null or
    // `type` none of FileOpenType, the stream is not open.
    CFileStream(const unsigned char* path, FileOpenType type);
    ~CFileStream() override;

    // A stream that is not open for reading stores 0; one not open for writing writes 0.
    QVRESULT Read(unsigned char* buffer, int count, int* read) override;
    // QV_E_FAIL also on an error of the file; `*value` then stays.
    QVRESULT ReadByte(int* value) override;
    // Past the end is allowed; before the beginning leaves the position. QV_S_OK either way.
    QVRESULT Seek(long offset, SeekMode mode, long* position) override;

    // QV_E_INVALIDARG: null pointer.
    QVRESULT GetCanRead(int* canRead) override;
    QVRESULT GetCanSeek(int* canSeek) override;
    QVRESULT GetCanWrite(int* canWrite) override;

    // Both store -1 for a file that cannot tell.
    QVRESULT GetLength(long* length) override;
    QVRESULT Tell(long* position) override;
    QVRESULT Close() override;

    // Returns 1, not a failure, for a stream open for reading only and when the system refuses.
    QVRESULT Flush() override;
    QVRESULT Write(unsigned char* buffer, int count, int* written) override;
    QVRESULT WriteByte(unsigned char value) override;

protected:
    UMDFORMAT_HIDDEN bool ReadOnTo(long offset, SeekMode mode) const;

    FilePtr m_pFile; // null: not open
    FileOpenType m_nOpenType;
};

static_assert(sizeof(void*) != 4 || sizeof(CFileStream) == 12);

} // namespace QvFormat
