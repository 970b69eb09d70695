// A program with a window, whose worker thread fails.
#include "kit_host.h"

namespace {

int* volatile picture;

DWORD WINAPI draw_picture(void* /*context*/) {
    *picture = 1; // fails
    return 0;
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE /*previous*/, char* command_line, int /*show*/) {
    cover(*command_line != 0);
    CreateWindowA("STATIC", "Drawing", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 300, 200, nullptr, nullptr, instance,
                  nullptr);
    CloseHandle(CreateThread(nullptr, 0, draw_picture, nullptr, 0, nullptr));
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0)
        DispatchMessageA(&message);
    return 0;
}
