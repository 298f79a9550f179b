#pragma once

#include "IBookIndexProxy.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

class CQvpFile;

// The list of integers of one file id in a container, which must outlive the proxy and is used by
// the same thread. A record holds up to 200.
class UMDFORMAT_API CBookIndexProxyImpl : public IBookIndexProxy {
public:
    // Works on the records of `fileId` in `file`; null: every operation gives QV_E_NOTREADY.
    CBookIndexProxyImpl(CQvpFile* file, unsigned int fileId);
    ~CBookIndexProxyImpl() override;

    QVRESULT GetIndexList(int** entries, unsigned int* count) override;
    QVRESULT SetIndexList(int* entries, unsigned int count) override;

protected:
    // Asks the container for the list; 1 when it has a record, else 0.
    int AttachDataNode();
    // A new record, not yet the container's; null when memory runs out.
    Qvp_Node* CreateQvpNode();

    CQvpFile* m_pFile;
    unsigned int m_nFileId;
    Qvp_Node* m_pList = nullptr; // the container's
};

static_assert(sizeof(void*) != 4 || sizeof(CBookIndexProxyImpl) == 16);

} // namespace QvFormat
