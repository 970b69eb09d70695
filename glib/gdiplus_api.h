// The functions of GDI+ that the layer uses, bound at run time: where GDI+ is missing the library loads all the same,
// and merely has no vector layers and no flattening.
#pragma once

#include <windows.h>
#include <gdiplus/gdiplus.h>

namespace glib {

// Each null until bound, and where GDI+ lacks it.
struct GdiplusApi {
    decltype(&Gdiplus::GdiplusStartup) Startup;
    decltype(&Gdiplus::GdiplusShutdown) Shutdown;
    decltype(&Gdiplus::DllExports::GdipAlloc) Alloc;
    decltype(&Gdiplus::DllExports::GdipFree) Free;
    decltype(&Gdiplus::DllExports::GdipCloneImage) CloneImage;
    decltype(&Gdiplus::DllExports::GdipCreateBitmapFromScan0) CreateBitmapFromScan0;
    decltype(&Gdiplus::DllExports::GdipCreateMetafileFromEmf) CreateMetafileFromEmf;
    decltype(&Gdiplus::DllExports::GdipDeleteGraphics) DeleteGraphics;
    decltype(&Gdiplus::DllExports::GdipDisposeImage) DisposeImage;
    decltype(&Gdiplus::DllExports::GdipDrawImageRectRect) DrawImageRectRect;
    decltype(&Gdiplus::DllExports::GdipDrawImageRectRectI) DrawImageRectRectI;
    decltype(&Gdiplus::DllExports::GdipGetHemfFromMetafile) GetHemfFromMetafile;
    decltype(&Gdiplus::DllExports::GdipGetImageBounds) GetImageBounds;
    decltype(&Gdiplus::DllExports::GdipGetImageGraphicsContext) GetImageGraphicsContext;
    decltype(&Gdiplus::DllExports::GdipGetMetafileHeaderFromMetafile) GetMetafileHeaderFromMetafile;
    decltype(&Gdiplus::DllExports::GdipRecordMetafile) RecordMetafile;
    decltype(&Gdiplus::DllExports::GdipSetInterpolationMode) SetInterpolationMode;
    decltype(&Gdiplus::DllExports::GdipSetSmoothingMode) SetSmoothingMode;
    decltype(&Gdiplus::DllExports::GdipSetTextRenderingHint) SetTextRenderingHint;
};

// The table. A test may put functions of its own into it.
GdiplusApi& gdiplus_api();

// Loads GDI+ and fills the table, unless that is done. False when it isn't there whole; the next call tries again. GDI+
// then stays loaded for the life of the process.
bool bind_gdiplus();

} // namespace glib
