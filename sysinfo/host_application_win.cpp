// Registry and file system are each asked under a fault guard: what faults counts as not found.
#include "sysinfo/std_info.h"

#include <afxwin.h>
#include <string.h>

#include "win/guard.h"
#include "win/handle.h"

namespace sysinfo {

namespace {

bool file_exists(const char* path) {
    bool found = false;
    win::run_guarded([&] {
        CFileFind find;
        found = find.FindFile(path);
    });
    return found;
}

void read_registered_path(HKEY root, const char* file, CStdString& path) {
    constexpr LONG kLimit = 1024;
    char name[128] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\"; // the rest is NUL
    strncpy(name + strlen(name), file, 63);
    win::RegistryKey key;
    if (RegOpenKeyA(root, name, key.put()) == ERROR_SUCCESS) {
        LONG size = kLimit;
        const LSTATUS status = RegQueryValueA(key.get(), nullptr, path.get_buffer(kLimit), &size);
        path.release_buffer();
        if (status != ERROR_SUCCESS)
            path = "";
    }
}

} // namespace

CStdString find_host_application(HKEY root, const char* executable, const char* file) {
    CStdString path;
    if (!win::run_guarded([&] { read_registered_path(root, file, path); }))
        path = "";
    if (file_exists(path.c_str()))
        return path;
    path = executable;
    const int backslash = path.rfind('\\');
    if (backslash < 0)
        return "";
    path = path.left(backslash);
    path += "\\";
    path += file;
    return path;
}

CStdString host_application_text(CStdFileInfo& reader, const char* path, const char* name) {
    if (!file_exists(path)) {
        CStdString text("Cannot extract version number of ");
        text += name;
        return text;
    }
    reader.Open(path);
    return describe_host_application(reader.GetVersion(), name);
}

} // namespace sysinfo
