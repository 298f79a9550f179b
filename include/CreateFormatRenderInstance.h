#pragma once

#include "IFormatRender.h"

// Opens the UMD book at `path` and stores its renderer in `*render`. The caller owns the renderer
// and releases it with delete, which also saves the reading position beside the book.
// On failure `*render` is null:
//   QV_E_POINTER      path or render is null (`*render` is then untouched)
//   QV_E_OUTOFMEMORY  the renderer could not be allocated
//   QV_E_FAIL         the book is missing, cannot be read, is damaged or holds no text
// The first screen is laid out by the first DrawCurScreen or GotoPosition.
UMDFORMAT_API QvFormat::QVRESULT CreateFormatRenderInstance(char const* path,
                                                            QvFormat::IFormatRender** render);
