// Where a console program starts: initializers, main, exit functions. Wildcards among the arguments are not expanded.
#include <stdlib.h>

#include "crt/startup.h"

namespace {

struct StartupInfo {
    int new_mode;
};

} // namespace

extern "C" int __cdecl main(int argc, char** argv);
extern "C" int __cdecl __getmainargs(int* argc, char*** argv, char*** environment, int wildcards, StartupInfo* info);

extern "C" void __cdecl mainCRTStartup() {
    crt::make_security_cookie();
    int argc = 0;
    char** argv = nullptr;
    char** environment = nullptr;
    StartupInfo info = {};
    __getmainargs(&argc, &argv, &environment, 0, &info);
    crt::run_initializers();
    const int code = main(argc, argv);
    crt::run_exit_functions();
    exit(code);
}
