#include "sysinfo/system_info_file.h"

#include <stdio.h>
#include <windows.h>

#include "sysinfo/std_info.h"
#include "sysinfo/system_info_text.h"
#include "win/temporary_folder.h"

namespace {

struct OwnedInfo {
    OwnedInfo() : object(new CStdInfo) {
        if (!object)
            throw gen::genlib_out_of_memory();
    }
    ~OwnedInfo() { delete object; }
    OwnedInfo(const OwnedInfo&) = delete;
    OwnedInfo& operator=(const OwnedInfo&) = delete;

    CStdInfo* object;
};

struct OwnedFile {
    // With a buffer of its own: the runtime would take one from its heap, which may be damaged.
    explicit OwnedFile(FILE* opened) : stream(opened) {
        if (stream)
            setvbuf(stream, buffer, _IOFBF, sizeof buffer);
    }
    ~OwnedFile() {
        if (stream)
            fclose(stream);
    }
    FILE* stream;
    char buffer[512];
};

} // namespace

bool write_system_info_file(CStdString& path) {
    CStdString directory;
    win::temporary_folder(directory.get_buffer(1024), 1024);
    directory.release_buffer();
    path = sysinfo::system_info_path(directory.c_str());

    const OwnedInfo info;
    OwnedFile file(fopen(path.c_str(), "w+"));
    if (!file.stream)
        return false;
    const CStdString text = info.object->GetSystemInfoText();
    const bool written = fprintf(file.stream, "%s", text.c_str()) >= 0;
    FILE* stream = file.stream;
    file.stream = nullptr;
    return fclose(stream) == 0 && written;
}
