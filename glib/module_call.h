// The calls into format modules: guarded, so that a module's fault becomes a result code.
#pragma once

#include "glib/format_code.h"
#include "glib/image_data_exchange.h"
#include "glib/save_record.h"

namespace glib {

// Asks a module for its formats, writes their codes and gives their number. 0 when it faulted, has another interface
// version, or names none or more than `capacity`.
unsigned call_get_info(GetFilterInfoEntry entry, EFormat* formats, unsigned capacity);

// What the entry answers; CFLT when it faulted or answered with no code that there is. A module that threw or faulted
// may have left memory of its own behind.
ResultCode call_load(LoadEntry entry, ImageDataExchange& image, VStream& stream, int32_t page);
ResultCode call_info(InfoEntry entry, VStream& stream, ImageFileInfo& info);
ResultCode call_thumbnail(ThumbnailEntry entry, ImageDataExchange& image, VStream& stream, uint32_t width,
                          uint32_t height);
ResultCode call_save(SaveEntry entry, ImageDataExchange& image, VStream& stream, const BaseFormatDesc& options);

} // namespace glib
