// Does what the first argument says and prints what came of it, one fact a line; tests/imaging drives it.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "capture/screenshot.h"

int main(int argc, char** argv) {
    if (argc > 1 && !strcmp(argv[1], "screenshot")) {
        const CStdString path = screenshot_path();
        write_screenshot(path);
        printf("%s\n", path.c_str());
        return 0;
    }
    return 2;
}
