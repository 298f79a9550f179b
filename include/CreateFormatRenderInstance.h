#pragma once

#include "IFormatRender.h"

// Opens the UMD book at `path` and stores its renderer in `*render`. The caller owns the renderer
// and releases it with delete, which also saves the reading position beside the book. IFormatRender
// says which thread may call it and which locale to set before.
// Its screens are 600 by 800 pixels; a word longer than a line goes on in the next one.
// QV_S_OK, or with `*render` null:
//   QV_E_POINTER      path or render is null (`*render` is then untouched)
//   QV_E_OUTOFMEMORY  the renderer could not be allocated
//   QV_E_FAIL         the book is missing, cannot be read, is damaged or holds no text
// The first screen is laid out by the first DrawCurScreen or GotoPosition.
UMDFORMAT_API QvFormat::QVRESULT CreateFormatRenderInstance(char const* path,
                                                            QvFormat::IFormatRender** render);
