#include "CreateFormatRenderInstance.h"

#include <memory>
#include <new>

#include "base/CFileStream.h"
#include "layout/CPangoLayout.h"
#include "render/CUMDRenderImpl.h"

using namespace QvFormat;

namespace {

constexpr char kFontDescription[] = "fzlth 18"; // 18 pixels at 72 dots per inch
constexpr unsigned int kWidth = 600;
constexpr unsigned int kHeight = 800;
constexpr unsigned int kDotsPerInch = 72;

} // namespace

QVRESULT CreateFormatRenderInstance(char const* path, IFormatRender** render) {
    if (!path || !render)
        return QV_E_POINTER;
    *render = nullptr;
    std::unique_ptr<CUMDRenderImpl> created(new (std::nothrow) CUMDRenderImpl);
    if (!created)
        return QV_E_OUTOFMEMORY;
    auto* stream =
        new (std::nothrow) CFileStream(reinterpret_cast<const unsigned char*>(path), FileOpenRead);
    auto* layout = new (std::nothrow)
        CPangoLayout(kFontDescription, kWidth, kHeight, kDotsPerInch, kDotsPerInch);
    if (layout) // else a word longer than a line runs off the page
        layout->SetWrap(QVLayoutWrapWordChar);
    const QVRESULT result = created->Initialize(stream, layout, const_cast<char*>(path));
    if (result >= 0)
        *render = created.release();
    return result;
}
