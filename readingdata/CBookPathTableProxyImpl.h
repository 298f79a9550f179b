#pragma once

#include "IBookPathTableProxy.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

class CQvpFile;

// The path table of a container, which must outlive the proxy and is used by the same thread. It is
// the same table for every file id; new records carry the one given here.
class UMDFORMAT_API CBookPathTableProxyImpl : public IBookPathTableProxy {
public:
    // Works on the table in `file`; null: every operation gives QV_E_NOTREADY.
    CBookPathTableProxyImpl(CQvpFile* file, unsigned int fileId);
    ~CBookPathTableProxyImpl() override;

    QVRESULT GetPathTable(QvpPathItem** items, unsigned int* count) override;
    QVRESULT SetPathTable(QvpPathItem* items, unsigned int count) override;

protected:
    // Asks the container for the list; 1 when it has a record, else 0.
    int AttachDataNode();
    // A new record, not yet the container's; null when memory runs out.
    Qvp_Node* CreateQvpNode();

    CQvpFile* m_pFile;
    unsigned int m_nFileId;
    Qvp_Node* m_pList = nullptr; // the container's
};

static_assert(sizeof(void*) != 4 || sizeof(CBookPathTableProxyImpl) == 16);

} // namespace QvFormat
