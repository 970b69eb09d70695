// The exported message box: titled after its owner's window or, without one, after the program.
#include <windows.h>
#include <stdlib.h>
#include <string.h>

#include "base/floating_point_scope.h"
#include "companions/kobrtl/kobrtl.h"
#include "companions/kobrtl/message_text.h"

namespace {

constexpr DWORD kTitleCapacity = MAX_PATH;

// The name of the running program without folder and extension; empty if it is unknown.
void program_name(char (&title)[kTitleCapacity]) {
    char path[kTitleCapacity] = {};
    const DWORD length = GetModuleFileNameA(nullptr, path, kTitleCapacity);
    path[length < kTitleCapacity ? length : kTitleCapacity - 1] = '\0';
    const char* separator = strrchr(path, '\\');
    strcpy(title, separator ? separator + 1 : path);
    if (char* dot = strrchr(title, '.'))
        *dot = '\0';
}

} // namespace

int __cdecl MsgBox(HWND__* owner, unsigned flags, const char* format, ...) {
    int answer = 0;
    va_list arguments;
    va_start(arguments, format);
    gen::call_with_own_floating_point([=, &answer] {
        char* text = kobrtl::format_message(format, arguments);
        char title[kTitleCapacity] = {};
        if (!owner || !GetWindowTextA(owner, title, kTitleCapacity))
            program_name(title);
        // Without an owner the box must still keep the user from going on in the program's windows.
        const unsigned modality = owner ? 0 : MB_TASKMODAL | MB_SETFOREGROUND;
        // When even the text can't be had, the bare format says more than no box at all.
        answer = MessageBoxA(owner, text ? text : format, title, flags | modality);
        free(text);
    });
    va_end(arguments);
    return answer;
}
