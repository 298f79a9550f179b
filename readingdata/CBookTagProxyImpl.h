#pragma once

#include "IBookTagProxy.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

class CQvpFile;

// The tags of one file id in a container, which must outlive the proxy and is used by the same
// thread. A record holds up to 10.
class UMDFORMAT_API CBookTagProxyImpl : public IBookTagProxy {
public:
    // Works on the records of `fileId` in `file`; null: every operation gives QV_E_NOTREADY.
    CBookTagProxyImpl(CQvpFile* file, unsigned int fileId);
    ~CBookTagProxyImpl() override;

    QVRESULT GetTagList(char*** tags, unsigned int* count) override;
    QVRESULT SetTagList(char** tags, unsigned int count) override;

protected:
    // Asks the container for the list; 1 when it has a record, else 0.
    int AttachDataNode();
    // A new record, not yet the container's; null when memory runs out.
    Qvp_Node* CreateQvpNode();

    CQvpFile* m_pFile;
    unsigned int m_nFileId;
    Qvp_Node* m_pList = nullptr; // the container's
};

static_assert(sizeof(void*) != 4 || sizeof(CBookTagProxyImpl) == 16);

} // namespace QvFormat
