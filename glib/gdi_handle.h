// Owners of GDI handles.
#pragma once

#include "win/handle.h"

namespace glib {

// A device context made by CreateDC or CreateCompatibleDC.
struct DeviceContextTraits {
    using Value = HDC;
    static Value invalid() noexcept { return nullptr; }
    static void close(Value dc) noexcept { win::nothrow(DeleteDC)(dc); }
};
using DeviceContext = win::UniqueHandle<DeviceContextTraits>;

// A bitmap that is selected into no device context.
struct BitmapTraits {
    using Value = HBITMAP;
    static Value invalid() noexcept { return nullptr; }
    static void close(Value bitmap) noexcept { win::nothrow(DeleteObject)(bitmap); }
};
using Bitmap = win::UniqueHandle<BitmapTraits>;

} // namespace glib
