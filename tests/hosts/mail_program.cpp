// Stands for the user's mail program: writes the path it was opened with into the file that MAIL_PROGRAM_LOG names.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>

namespace {

// Alone in the file, for several may be opened at a time, and each is to write behind the others.
HANDLE open_alone(const char* log) {
    for (int tries = 0; tries < 12000; ++tries) {
        const HANDLE file = CreateFileA(log, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION)
            return file;
        Sleep(10);
    }
    return INVALID_HANDLE_VALUE;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR arguments, int show) {
    const char* const log = getenv("MAIL_PROGRAM_LOG");
    char line[1100];
    const int length = _snprintf(line, sizeof line, "%d %s\n", show, arguments);
    if (!log || length < 0)
        return 1;
    const HANDLE file = open_alone(log);
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    SetFilePointer(file, 0, nullptr, FILE_END);
    DWORD written = 0;
    const BOOL done = WriteFile(file, line, static_cast<DWORD>(length), &written, nullptr);
    CloseHandle(file);
    return done ? 0 : 1;
}
