// All functions are bound or none. Once they are, GDI+ stays loaded for the life of the process.
#include "glib/gdiplus_api.h"

#include "win/handle.h"
#include "win/library.h"

namespace glib {

namespace {

GdiplusApi g_api;
bool g_bound;

} // namespace

GdiplusApi& gdiplus_api() {
    return g_api;
}

bool bind_gdiplus() {
    if (g_bound)
        return true;
    win::LibraryHandle library(LoadLibraryExA("gdiplus.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    // An old Windows doesn't know the flag, or has no more than a side-by-side assembly.
    if (!library)
        library.reset(LoadLibraryA("gdiplus.dll"));
    if (!library)
        return false;
    // Made apart, so that no caller finds a part of it.
    GdiplusApi api = {};
    bool complete = true;
    const auto bind = [&]<typename Function>(Function*& function, const char* name) {
        function = win::function_of<Function>(library.get(), name);
        complete = complete && function;
    };
    bind(api.Startup, "GdiplusStartup");
    bind(api.Shutdown, "GdiplusShutdown");
    bind(api.Alloc, "GdipAlloc");
    bind(api.Free, "GdipFree");
    bind(api.CloneImage, "GdipCloneImage");
    bind(api.CreateBitmapFromScan0, "GdipCreateBitmapFromScan0");
    bind(api.CreateMetafileFromEmf, "GdipCreateMetafileFromEmf");
    bind(api.DeleteGraphics, "GdipDeleteGraphics");
    bind(api.DisposeImage, "GdipDisposeImage");
    bind(api.DrawImageRectRect, "GdipDrawImageRectRect");
    bind(api.DrawImageRectRectI, "GdipDrawImageRectRectI");
    bind(api.GetHemfFromMetafile, "GdipGetHemfFromMetafile");
    bind(api.GetImageBounds, "GdipGetImageBounds");
    bind(api.GetImageGraphicsContext, "GdipGetImageGraphicsContext");
    bind(api.GetMetafileHeaderFromMetafile, "GdipGetMetafileHeaderFromMetafile");
    bind(api.RecordMetafile, "GdipRecordMetafile");
    bind(api.SetInterpolationMode, "GdipSetInterpolationMode");
    bind(api.SetSmoothingMode, "GdipSetSmoothingMode");
    bind(api.SetTextRenderingHint, "GdipSetTextRenderingHint");
    if (!complete)
        return false;
    g_api = api;
    library.release();
    g_bound = true;
    return true;
}

} // namespace glib
