#pragma once

#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

// Where a seek counts from. The values are stdio's SEEK_SET, SEEK_CUR and SEEK_END.
enum SeekMode : int {
    SeekFromBegin = 0,
    SeekFromCurrent = 1,
    SeekFromEnd = 2,
};

// How CFileStream opens its file. Any other value opens none.
enum FileOpenType : int {
    FileOpenRead = 0,      // existing file, read only
    FileOpenCreate = 1,    // created or truncated, write only
    FileOpenReadWrite = 2, // existing file, read and write
};

// A byte stream with a current position. One thread at a time; destroyed through this interface.
// Positions and lengths are bytes. Every operation returns a QVRESULT, and QV_E_NOTREADY when the
// stream is not open; where the two implementations differ, their headers say how.
class UMDFORMAT_API IQVSequentialStream {
public:
    virtual ~IQVSequentialStream();

    // Reads up to `count` bytes into `buffer` and stores the number read in `*read` when given.
    // QV_S_OK also at the end of the data, where fewer bytes or none arrive.
    // QV_E_INVALIDARG: null buffer, or a count of 0 or less.
    virtual QVRESULT Read(unsigned char* buffer, int count, int* read) = 0;

    // Reads one byte into `*value` (0 to 255). QV_E_INVALIDARG: null. QV_E_FAIL: no byte left.
    virtual QVRESULT ReadByte(int* value) = 0;

    // Moves the position; the new one is stored in `*position` when given.
    // QV_E_INVALIDARG: a mode that is none of SeekMode.
    virtual QVRESULT Seek(long offset, SeekMode mode, long* position) = 0;

    // Store 1 when the stream can be read, moved in or written, else 0.
    virtual QVRESULT GetCanRead(int* canRead) = 0;
    virtual QVRESULT GetCanSeek(int* canSeek) = 0;
    virtual QVRESULT GetCanWrite(int* canWrite) = 0;

    // Stores the total length when `length` is given; the position stays.
    virtual QVRESULT GetLength(long* length) = 0;

    // Stores the position when `position` is given.
    virtual QVRESULT Tell(long* position) = 0;

    // Lets go of the file or buffer. Final: a closed stream is not opened again.
    virtual QVRESULT Close() = 0;

    // Hands buffered bytes to the system.
    virtual QVRESULT Flush() = 0;

    // Writes `count` bytes and stores the number written in `*written` when given.
    // QV_S_OK whatever that number is. QV_E_INVALIDARG: null buffer, or a count of 0 or less.
    virtual QVRESULT Write(unsigned char* buffer, int count, int* written) = 0;

    // Writes one byte. QV_E_FAIL: it could not be written.
    virtual QVRESULT WriteByte(unsigned char value) = 0;
};

} // namespace QvFormat
