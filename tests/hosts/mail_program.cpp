// Stands for the user's mail program: copies the path it was opened with into the file that MAIL_PROGRAM_LOG names.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR arguments, int show) {
    const char* const log = getenv("MAIL_PROGRAM_LOG");
    FILE* const file = log ? fopen(log, "ab") : nullptr;
    if (!file)
        return 1;
    fprintf(file, "%d %s\n", show, arguments);
    return fclose(file) == 0 ? 0 : 1;
}
