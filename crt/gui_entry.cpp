// Where a windowed program starts: initializers, WinMain with what follows the program's name on the command line, exit
// functions.
#include <windows.h>
#include <stdlib.h>

#include "crt/startup.h"

namespace {

// What follows the program's name on the command line.
char* arguments_of(char* line) {
    const bool quoted = *line == '"';
    if (quoted)
        ++line;
    while (*line && (quoted ? *line != '"' : *line > ' '))
        ++line;
    if (quoted && *line)
        ++line;
    while (*line && *line <= ' ')
        ++line;
    return line;
}

} // namespace

extern "C" int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPSTR arguments, int show);

extern "C" void __cdecl WinMainCRTStartup() {
    crt::make_security_cookie();
    STARTUPINFOA info = {};
    GetStartupInfoA(&info);
    const int show = info.dwFlags & STARTF_USESHOWWINDOW ? info.wShowWindow : SW_SHOWDEFAULT;
    crt::run_initializers();
    const int code = WinMain(GetModuleHandleA(nullptr), nullptr, arguments_of(GetCommandLineA()), show);
    crt::run_exit_functions();
    exit(code);
}
