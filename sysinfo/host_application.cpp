#include "sysinfo/host_application.h"

#include <afxwin.h>

#include "win/handle.h"

namespace sysinfo {

namespace {

bool FileExists(const char* path) {
    CFileFind find;
    return find.FindFile(path);
}

CStdString RegisteredPath(HKEY root) {
    constexpr LONG limit = 1024;
    CStdString path;
    win::RegistryKey key;
    if (RegOpenKeyA(root, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Lumivale.exe", key.put()) ==
        ERROR_SUCCESS) {
        LONG size = limit;
        const LSTATUS status = RegQueryValueA(key.get(), nullptr, path.get_buffer(limit), &size);
        path.release_buffer();
        if (status != ERROR_SUCCESS)
            path = "";
    }
    return path;
}

} // namespace

CStdString FindHostApplication(HKEY root, const char* executable) {
    CStdString path = RegisteredPath(root);
    if (FileExists(path.c_str()))
        return path;
    path = executable;
    const int backslash = path.rfind('\\');
    if (backslash < 0)
        return "";
    path = path.left(backslash);
    path += "\\Lumivale.exe";
    return path;
}

CStdString HostApplicationText(CStdFileInfo& reader, const char* path) {
    if (!FileExists(path))
        return "Cannot extract version number of Lumivale";
    reader.Open(path);
    return DescribeHostApplication(reader.GetVersion());
}

} // namespace sysinfo
