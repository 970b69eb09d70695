// Loading a document from files, resources and memory: each way makes a stream and a request, and FilmBody does the
// rest.
#include <windows.h>

#include "glib/film.h"
#include "glib/film_body.h"
#include "glib/mem_stream.h"
#include "glib/stdio_file_stream.h"

namespace glib {

namespace {

ResultCode load_file(FilmBody& body, const char* path, LoadRequest request) {
    if (!path)
        return BADA;
    VStdioFileStream stream;
    if (!stream.Open(path, "rb"))
        return IERR;
    request.name = path;
    return body.Load(filter_manager(), stream, request);
}

ResultCode load_memory(FilmBody& body, const void* data, uint32_t size, const LoadRequest& request) {
    if (!data || !size)
        return BADA;
    VMemStream stream(data, size);
    return body.Load(filter_manager(), stream, request);
}

ResultCode file_info(FilmBody& body, const char* path, EFormat format, ImageFileInfo* info) {
    if (!path || !info)
        return BADA;
    VStdioFileStream stream;
    return stream.Open(path, "rb") ? body.Info(filter_manager(), stream, path, format, *info) : IERR;
}

// A load of all pages.
LoadRequest request_of(uint32_t format, bool append, bool tolerant, uint32_t max_width, uint32_t max_height) {
    LoadRequest request;
    request.format = static_cast<EFormat>(format);
    request.append = append;
    request.tolerant = tolerant;
    request.max_width = max_width;
    request.max_height = max_height;
    return request;
}

LoadRequest request_of_page(uint32_t format, bool tolerant, uint32_t max_width, uint32_t max_height, int32_t page) {
    LoadRequest request = request_of(format, false, tolerant, max_width, max_height);
    request.page = page;
    return request;
}

} // namespace

ResultCode Film::AppendDamaged(const char* path, uint32_t max_width, uint32_t max_height) {
    return load_file(*m_body, path, request_of(0, true, true, max_width, max_height));
}

ResultCode Film::Append(const char* path, uint32_t max_width, uint32_t max_height) {
    return load_file(*m_body, path, request_of(0, true, false, max_width, max_height));
}

ResultCode Film::LoadDamaged(const char* path, uint32_t max_width, uint32_t max_height) {
    return load_file(*m_body, path, request_of(0, false, true, max_width, max_height));
}

ResultCode Film::Load(const char* path, uint32_t max_width, uint32_t max_height) {
    return load_file(*m_body, path, request_of(0, false, false, max_width, max_height));
}

ResultCode Film::LoadDamagedPage(const char* path, uint32_t max_width, uint32_t max_height, int32_t page) {
    return load_file(*m_body, path, request_of_page(0, true, max_width, max_height, page));
}

ResultCode Film::LoadPage(const char* path, uint32_t max_width, uint32_t max_height, int32_t page) {
    return load_file(*m_body, path, request_of_page(0, false, max_width, max_height, page));
}

ResultCode Film::AppendAs(const char* path, uint32_t format, uint32_t max_width, uint32_t max_height) {
    return load_file(*m_body, path, request_of(format, true, false, max_width, max_height));
}

ResultCode Film::LoadAs(const char* path, uint32_t format, uint32_t max_width, uint32_t max_height) {
    return load_file(*m_body, path, request_of(format, false, false, max_width, max_height));
}

ResultCode Film::LoadPageAs(const char* path, uint32_t format, uint32_t max_width, uint32_t max_height, int32_t page) {
    return load_file(*m_body, path, request_of_page(format, false, max_width, max_height, page));
}

ResultCode Film::AppendMemory(const void* data, uint32_t size, uint32_t format) {
    return load_memory(*m_body, data, size, request_of(format, true, false, 0, 0));
}

ResultCode Film::LoadMemory(const void* data, uint32_t size, uint32_t format) {
    return load_memory(*m_body, data, size, request_of(format, false, false, 0, 0));
}

ResultCode Film::LoadMemoryPage(const void* data, uint32_t size, uint32_t format, int32_t page) {
    return load_memory(*m_body, data, size, request_of_page(format, false, 0, 0, page));
}

ResultCode Film::LoadResource(HINSTANCE__* module, const char* identifier, const char* type) {
    HRSRC found = FindResourceA(module, identifier, type);
    HGLOBAL loaded = found ? ::LoadResource(module, found) : nullptr;
    const void* data = loaded ? LockResource(loaded) : nullptr;
    if (!data)
        return MISS;
    return load_memory(*m_body, data, SizeofResource(module, found), request_of(0, false, false, 0, 0));
}

ResultCode Film::FileInfo(const char* path, ImageFileInfo* info) {
    return file_info(*m_body, path, EFormat_none, info);
}

ResultCode Film::FileInfoAs(const char* path, uint32_t format, ImageFileInfo* info) {
    return file_info(*m_body, path, static_cast<EFormat>(format), info);
}

ResultCode Film::MemoryInfo(const void* data, uint32_t size, ImageFileInfo* info) {
    if (!data || !size || !info)
        return BADA;
    VMemStream stream(data, size);
    return m_body->Info(filter_manager(), stream, nullptr, EFormat_none, *info);
}

} // namespace glib
