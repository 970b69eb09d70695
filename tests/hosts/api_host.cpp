// Checks the small promises of the exported functions; prints a line for each that is broken and "checked N" at the
// end.
#include <windows.h>
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/foreign_view.h"

namespace {

int checked;

void check(bool holds, const char* what) {
    ++checked;
    if (!holds)
        printf("FAILED: %s\n", what);
}

void check_translator() {
    check(InitCrushReport() == nullptr, "a fresh thread has no translator before");
    check(InitCrushReport() == &APISeTranslator, "the second call finds our translator");
}

DWORD WINAPI other_thread(void*) {
    check(InitCrushReport() == nullptr, "the translator belongs to a thread");
    return 0;
}

void check_marker() {
    try {
        APISeTranslator(0xE0000001, nullptr);
    } catch (char* marker) {
        MEMORY_BASIC_INFORMATION memory = {};
        VirtualQuery(marker, &memory, sizeof(memory));
        check(strcmp(marker, WENDAX_MARKER) == 0, "the translator throws the marker");
        check(memory.Protect == PAGE_READONLY, "nobody can change the marker");
        return;
    }
    check(false, "the translator throws");
}

void check_attachment() {
    char* const kept = SetAttachment("C:\\a long path\\file.txt");
    check(strcmp(kept, "C:\\a long path\\file.txt") == 0, "the path is copied");
    check(SetAttachment("b.txt") == kept, "the buffer stays where it is");
    bool clean = true;
    for (int i = 5; i < 1024; ++i)
        clean = clean && kept[i] == '\0';
    check(strcmp(kept, "b.txt") == 0 && clean, "a shorter path leaves no tail of the longer");

    static char longest[2000];
    memset(longest, 'x', sizeof(longest) - 1);
    SetAttachment(longest);
    check(memcmp(kept, longest, 1024) == 0, "a path that is too long fills the buffer without a terminator");
    check(SetAttachment(nullptr) == kept && kept[0] == '\0', "null clears the path");
}

void check_screen_copy() {
    const int flags[] = {1, -1, 0x7FFFFFFF, 0};
    for (int flag : flags)
        check(SetCreateScreenCopy(flag) == flag, "the flag comes back");
}

void check_capture() {
    RECT empty = {10, 10, 10, 20};
    check(CCrashReport::CopyScreenToBitmap(&empty) == nullptr, "an empty rectangle has no picture");
    RECT part = {0, 0, 64, 32};
    HBITMAP const bitmap = CCrashReport::CopyScreenToBitmap(&part);
    BITMAP info = {};
    check(bitmap && GetObjectA(bitmap, sizeof(info), &info), "a rectangle has a picture");
    check(info.bmWidth == 64 && info.bmHeight == 32 && info.bmBitsPixel == 24, "of its size, in 24 bits");
    DeleteObject(bitmap);
}

void check_newest_upload_report() {
    check(CCrashReport2::m_pThis == nullptr, "no upload report at first");
    CCrashReport2* const first = new CCrashReport2(nullptr);
    check(CCrashReport2::m_pThis == first, "the first is the newest");
    CCrashReport2* const second = new CCrashReport2(nullptr);
    check(CCrashReport2::m_pThis == second, "the second is the newest");
    delete first;
    check(CCrashReport2::m_pThis == second, "an older one that goes changes nothing");
    delete second;
    check(CCrashReport2::m_pThis == nullptr, "the newest one that goes leaves none");
}

// Hosts of other compilers call these by their numbers. A report's destructor comes last.
template <class Report>
void check_slots(const char* first) {
    Report report(nullptr);
    auto* const expected = GetProcAddress(GetModuleHandleA("Wendax.dll"), first);
    check(expected && slot_of<intptr_t __stdcall()>(&report, 1) == expected, first);
}

} // namespace

int main() {
    constexpr bool kWide = sizeof(void*) == 8;
    check(sizeof(CCrashReport) == (kWide ? 64 : 32) && sizeof(CCrashReport2) == (kWide ? 256 : 176),
          "the public header knows the layouts");
    check_translator();
    HANDLE const thread = CreateThread(nullptr, 0, other_thread, nullptr, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    check_marker();
    check_attachment();
    check_screen_copy();
    check_capture();
    check_newest_upload_report();
    check_slots<CCrashReport>(kWide ? "?GenerateEmail@CCrashReport@@UEAAXHPEBD00@Z"
                                    : "?GenerateEmail@CCrashReport@@UAEXHPBD00@Z");
    check_slots<CCrashReport2>(kWide ? "?PostRequest@CCrashReport2@@UEAAXPEBD000@Z"
                                     : "?PostRequest@CCrashReport2@@UAEXPBD000@Z");
    printf("checked %d\n", checked);
    return 0;
}
