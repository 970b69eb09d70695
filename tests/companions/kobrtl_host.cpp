// A program that is linked against KOBRTL.dll, as the imaging layer is.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "companions/kobrtl/kobrtl.h"
#include "testing/cxx/floating_point.h"

namespace {

bool troubled;
bool kept = true;

// Calls it with every floating-point exception unmasked and a full x87 stack, if that is wanted.
template <class Call>
auto call(Call what) {
    if (troubled) {
        const unsigned mxcsr = 0;
        __asm__ volatile("fninit\n\tfldpi\n\tfldpi\n\tfldpi\n\tfldpi\n\tfldpi\n\tfldpi\n\tfldpi\n\tfldpi\n\tldmxcsr %0"
                         :
                         : "m"(mxcsr));
        load_control_word(0x0340);
    }
    const FloatingPoint before = floating_point();
    const auto result = what();
    const FloatingPoint after = floating_point();
    if (troubled)
        calm_floating_point();
    kept = kept && same_floating_point(before, after);
    return result;
}

// scale TYPE BPP WIDTH HEIGHT TO_WIDTH TO_HEIGHT: a picture whose byte i is i * i / 3 % 251, scaled; its bytes in
// hexadecimal, row by row from the top.
int scale(char** arguments) {
    unsigned numbers[6];
    for (unsigned i = 0; i < 6; ++i)
        numbers[i] = static_cast<unsigned>(atoi(arguments[i]));
    const int type = static_cast<int>(numbers[0]);
    const unsigned bpp = numbers[1], width = numbers[2], height = numbers[3];
    const unsigned to_width = numbers[4], to_height = numbers[5];
    const unsigned length = width * bpp / 8, to_length = to_width * bpp / 8;
    unsigned char* pixels = static_cast<unsigned char*>(malloc(length * height));
    unsigned char* result = static_cast<unsigned char*>(malloc(to_length * to_height));
    for (unsigned i = 0; i < length * height; ++i)
        pixels[i] = static_cast<unsigned char>(i * i / 3 % 251);
    const glib::Scale source =
        call([&] { return glib::Scale(pixels, width, height, static_cast<int>(length), bpp, nullptr, 0); });
    printf("depth: %u\n", call([&] { return source.CalcDestBpp(type); }));
    printf("done: %d\n",
           call([&] { return source.ScaleTo(result, to_width, to_height, static_cast<int>(to_length), type); }));
    printf("pixels: ");
    for (unsigned i = 0; i < to_length * to_height; ++i)
        printf("%02x", result[i]);
    printf("\n");
    free(result);
    free(pixels);
    return 0;
}

struct Seen {
    const char* title;
    int answer;
    char text[4096];
    bool has_icon;
};

// Waits for the box, reads it and presses a button.
DWORD WINAPI read_box(LPVOID argument) {
    Seen& seen = *static_cast<Seen*>(argument);
    HWND box = nullptr;
    for (DWORD start = GetTickCount(); GetTickCount() - start < 60000; Sleep(20)) {
        box = FindWindowA("#32770", seen.title);
        if (box && IsWindowVisible(box) && GetDlgItem(box, seen.answer))
            break;
    }
    for (HWND each = box ? GetWindow(box, GW_CHILD) : nullptr; each; each = GetWindow(each, GW_HWNDNEXT)) {
        char kind[16] = {};
        GetClassNameA(each, kind, sizeof kind);
        if (lstrcmpiA(kind, "Static") != 0)
            continue;
        if ((GetWindowLongA(each, GWL_STYLE) & SS_TYPEMASK) == SS_ICON) // there even where it shows none
            seen.has_icon = SendMessageA(each, STM_GETICON, 0, 0) != 0;
        else
            GetWindowTextA(each, seen.text, sizeof seen.text);
    }
    PostMessageA(box, WM_COMMAND, static_cast<WPARAM>(seen.answer), 0);
    return 0;
}

// box FLAGS TITLE ANSWER OWNER LENGTH: shows a box with an owner of that title (none for "-") and a text that ends in
// LENGTH stars; another thread presses the button ANSWER of the box with the title TITLE.
int box(char** arguments) {
    static Seen seen = {arguments[1], atoi(arguments[2]), {}, false};
    HWND owner = nullptr;
    if (strcmp(arguments[3], "-") != 0)
        owner = CreateWindowA("Static", arguments[3], WS_OVERLAPPEDWINDOW, 0, 0, 200, 100, nullptr, nullptr, nullptr,
                              nullptr);
    const int length = atoi(arguments[4]);
    char* stars = static_cast<char*>(calloc(static_cast<size_t>(length) + 1, 1));
    memset(stars, '*', static_cast<size_t>(length));
    HANDLE thread = CreateThread(nullptr, 0, read_box, &seen, 0, nullptr);
    const unsigned flags = strtoul(arguments[0], nullptr, 0);
    const int answer = call([&] { return MsgBox(owner, flags, "Bad %s, '%d' 100%%: %s", "format", -5, stars); });
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    printf("answer: %d\nicon: %d\ntext: %s\n", answer, seen.has_icon, seen.text);
    free(stars);
    return 0;
}

} // namespace

// With "troubled" in front, all calls are made in the middle of the host's floating-point work.
int main(int argc, char** argv) {
    troubled = argc > 1 && strcmp(argv[1], "troubled") == 0;
    if (troubled)
        --argc, ++argv;
    int code = 1;
    if (argc == 8 && strcmp(argv[1], "scale") == 0)
        code = scale(argv + 2);
    if (argc == 7 && strcmp(argv[1], "box") == 0)
        code = box(argv + 2);
    printf("floating point: %s\n", kept ? "kept" : "changed");
    return code;
}
