// The resampling of rasters.
#pragma once

#include "glib/raster.h"

namespace glib {

// Makes `target` the source in the new size. `scale_type` goes through to glib::Scale (1 is the best). The depth may
// rise where colours must be mixed: a palette becomes 24 bits, or 32 if one index is transparent. BADA for a type, size
// or source that can't be scaled, OMEM without memory; the target is empty then.
ResultCode scale_raster(const Raster& source, Raster& target, uint32_t width, uint32_t height, int scale_type);

} // namespace glib
