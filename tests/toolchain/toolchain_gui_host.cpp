// Answers with the length of its arguments as WinMain gets them.
#include <windows.h>
#include <string.h>

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR arguments, int) {
    return instance == GetModuleHandleA(nullptr) ? static_cast<int>(strlen(arguments)) : 200;
}
