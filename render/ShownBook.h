#pragma once

#include <memory>

#include "render/SegmentText.h"
#include "umd/CUMDHandler.h"

namespace QvFormat {

// The container of the book that a renderer shows, and the segment that the renderer has loaded
// ahead: the renderer's own fields are part of the binary interface and have no room for it.
class ShownBook : public CUMDHandler {
public:
    using CUMDHandler::CUMDHandler;

    // Its text is what the layout holds, and not kept here. Null: the layout holds the text that
    // the renderer's line table belongs to.
    std::unique_ptr<SegmentText> m_pAhead;
};

} // namespace QvFormat
