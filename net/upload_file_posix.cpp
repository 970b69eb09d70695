// For the unit tests on this machine.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "net/upload_file.h"

UploadFile::~UploadFile() {
    if (IsOpen())
        close(static_cast<int>(m_handle));
}

bool UploadFile::Open(const char* path) {
    m_handle = open(path, O_RDONLY | O_CLOEXEC);
    return IsOpen();
}

int64_t UploadFile::Length() const {
    struct stat status;
    return fstat(static_cast<int>(m_handle), &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
}

unsigned UploadFile::Read(char* to, unsigned capacity) const {
    const ssize_t got = read(static_cast<int>(m_handle), to, capacity);
    return got > 0 ? static_cast<unsigned>(got) : 0;
}
