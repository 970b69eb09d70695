// Saving a document. A file is made in memory and written in one call, as the runtime's files need a heap that the host
// may have damaged; a safe save writes beside the old file and then takes its place.
#include <windows.h>

#include "glib/film.h"
#include "glib/film_body.h"
#include "glib/mem_stream.h"
#include "win/files.h"
#include "win/handle.h"

namespace glib {

namespace {

// The file is gone at its end, but for one that is finished.
struct UnfinishedFile {
    const char* path;
    bool finished = false;
    ~UnfinishedFile() {
        if (!finished)
            win::nothrow(DeleteFileA)(path);
    }
};

// Writes a file that is new, or whose content is to be lost; none is left if it can't be finished. The format module
// writes into memory: a file of the runtime's takes its record from a heap that the host may have damaged.
ResultCode write_file(FilmBody& body, const char* path, const BaseFormatDesc& options) {
    UnfinishedFile file = {path};
    VMemStream stream;
    ResultCode code = body.Save(filter_manager(), stream, options);
    if (stream.HasError())
        code = OMEM;
    if (succeeded(code) && !win::write_whole_file(path, stream.data(), static_cast<size_t>(stream.Size())))
        code = IERR;
    file.finished = succeeded(code);
    return code;
}

// Makes an empty file beside `path` whose name nobody has; without one the name is empty.
CStdString claim_name_beside(const char* path) {
    constexpr unsigned kMostTries = 1000;
    for (unsigned i = 0; i < kMostTries; ++i) {
        CStdString name = CStdString(path) + ".new";
        if (i) {
            CStdString number;
            number.format("%u", i);
            name += number;
        }
        const win::Claim claim = win::claim_file(name.c_str());
        if (claim == win::Claim::kMade)
            return name;
        if (claim == win::Claim::kFailed)
            break;
    }
    return CStdString();
}

ResultCode save(FilmBody& body, const char* path, const BaseFormatDesc* options, bool safely) {
    if (!path || !options)
        return BADA;
    ResultCode code = body.CanSave(filter_manager(), *options);
    if (code != RCOK)
        return code;
    if (!safely)
        return write_file(body, path, *options);
    const CStdString beside = claim_name_beside(path);
    if (beside.empty())
        return IERR;
    code = write_file(body, beside.c_str(), *options);
    if (succeeded(code) && !MoveFileExA(beside.c_str(), path, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        DeleteFileA(beside.c_str());
        return IERR;
    }
    return code;
}

} // namespace

ResultCode Film::SaveWith(const char* path, uint32_t format, uint32_t bits_per_pixel, double resolution_x,
                          double resolution_y, const BaseFormatDesc* options, uint32_t first_page,
                          uint32_t page_count) {
    const EFormat code = static_cast<EFormat>(format);
    const bool usable = options && same_format(static_cast<EFormat>(options->format), code);
    if (options && !usable)
        return BADA;
    const auto save_as = [&](BaseFormatDesc& record) {
        record.format = format;
        record.bits_per_pixel = bits_per_pixel;
        record.resolution_unit = resolution_x > 0 && resolution_y > 0 ? 2 : 1;
        record.resolution_x = resolution_x;
        record.resolution_y = resolution_y;
        record.first_page = first_page;
        record.page_count = page_count;
        return save(*m_body, path, &record, false);
    };
    // JPEG's record is the one with fields of its own.
    if (same_format(code, EFormat_JPG)) {
        JPGSave record = usable ? *static_cast<const JPGSave*>(options) : JPGSave();
        return save_as(record);
    }
    BaseFormatDesc record = usable ? *options : BaseFormatDesc(format);
    return save_as(record);
}

ResultCode Film::SaveSafely(const char* path, const BaseFormatDesc* options) {
    return save(*m_body, path, options, true);
}

ResultCode Film::Save(const char* path, const BaseFormatDesc* options) {
    return save(*m_body, path, options, false);
}

ResultCode Film::SaveMemory(const BaseFormatDesc* options, void** buffer, uint32_t* length) {
    if (!options || !buffer || !length)
        return BADA;
    *buffer = nullptr;
    *length = 0;
    VMemStream stream;
    const ResultCode code = m_body->Save(filter_manager(), stream, *options);
    if (stream.HasError())
        return OMEM; // whatever the module made of it
    if (!succeeded(code))
        return code;
    *length = static_cast<uint32_t>(stream.Size());
    *buffer = stream.Detach();
    return code;
}

void Film::FreeMemory(void* buffer) {
    VMemStream::kProcessAllocator.release(buffer);
}

} // namespace glib
