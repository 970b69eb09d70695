/* window TITLE: a red window, 300 by 200 inside. Prints what happens to it, one line each: "left X Y", "right X Y",
   "key CODE", "close". Ends with code 7 when it is closed. */
#include <stdio.h>
#include <windows.h>

static LRESULT CALLBACK Handle(HWND window, UINT message, WPARAM w, LPARAM l) {
    switch (message) {
    case WM_LBUTTONUP:
        printf("left %d %d\n", (short)LOWORD(l), (short)HIWORD(l));
        return 0;
    case WM_RBUTTONUP:
        printf("right %d %d\n", (short)LOWORD(l), (short)HIWORD(l));
        return 0;
    case WM_KEYDOWN:
        printf("key %d\n", (int)w);
        return 0;
    case WM_CLOSE:
        printf("close\n");
        DestroyWindow(window);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(7);
        return 0;
    }
    return DefWindowProcA(window, message, w, l);
}

int main(int argc, char** argv) {
    setvbuf(stdout, NULL, _IONBF, 0);
    WNDCLASSA description = {0};
    description.lpfnWndProc = Handle;
    description.lpszClassName = "support";
    description.hbrBackground = CreateSolidBrush(RGB(255, 0, 0));
    description.hCursor = LoadCursor(NULL, IDC_ARROW);
    RegisterClassA(&description);
    RECT place = {0, 0, 300, 200};
    DWORD style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU;
    AdjustWindowRect(&place, style, FALSE);
    CreateWindowA("support", argc > 1 ? argv[1] : "support", style | WS_VISIBLE, 100, 100, place.right - place.left,
                  place.bottom - place.top, NULL, NULL, NULL, NULL);
    MSG message;
    while (GetMessage(&message, NULL, 0, 0) > 0) {
        DispatchMessage(&message);
    }
    return (int)message.wParam;
}
