// Fails and reports as often as it is told, and answers the dialog itself. One command a line on standard input:
//
//   mail N, upload N   that many faults with a report of each
//   plain mail N, plain upload N   what the system alone does in them: makes and destroys that many dialogs of the same
//                                  templates, and for mail reads the symbols of the DLLs that the stack leads through
//                                  and opens plain.eml each time
//
// Each answers "usage GDI USER KERNEL MEMORY ADDRESSES HEAPS": GDI objects, the number of a fresh user object, kernel
// handles, KiB of memory of its own, KiB of addresses that aren't free, and bytes of all blocks in the process's heaps
//
// The reports have a screenshot and the host's file notes.txt.
#include <windows.h>
#include <dbghelp.h>
#include <shellapi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/command_line.h"
#include "testing/cxx/faults.h"
#include "testing/cxx/usage.h"
#include "tests/conditions/notes_report.h"
#include "win/library.h"

namespace {

volatile bool asked; // a dialog is being answered
HWND answered;       // the last one that was

DWORD WINAPI press_first_button(void*) {
    for (;; Sleep(5)) {
        HWND const dialog = asked ? FindWindowA(nullptr, "Software Error Report") : nullptr;
        if (!dialog || dialog == answered || !IsWindowVisible(dialog))
            continue;
        answered = dialog;
        PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
    }
}

__attribute__((noinline)) void fail_and_report(bool by_mail) {
    try {
        commit_fault("write");
    } catch (char* marker) {
        answered = nullptr;
        asked = true;
        if (by_mail) {
            OpenCrushReport(marker);
        } else if (upload_notes_and_screenshot() != 1) {
            puts("not uploaded");
            exit(1);
        }
        asked = false;
    }
}

INT_PTR CALLBACK take_focus(HWND, UINT message, WPARAM, LPARAM) {
    return message == WM_INITDIALOG;
}

// Shows a dialog as any program would, works on its messages until it has been painted, and destroys it.
void show_plain_dialog(int resource) {
    HMODULE const library = GetModuleHandleA("Wendax.dll");
    HWND const dialog = CreateDialogParamA(library, MAKEINTRESOURCEA(resource), nullptr, take_focus, 0);
    ShowWindow(dialog, SW_SHOWNORMAL);
    UpdateWindow(dialog);
    MSG message;
    for (DWORD end = GetTickCount() + 50; GetTickCount() < end;) {
        if (PeekMessageA(&message, dialog, 0, 0, PM_REMOVE))
            DispatchMessageA(&message);
        else
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
    }
    DestroyWindow(dialog);
}

// As a description of a fault does: dbghelp is loaded, and reads what there is of the symbols of both.
void read_symbols() {
    HMODULE const dbghelp = LoadLibraryA("dbghelp.dll");
    const HANDLE nobody = &answered; // a handle of no process
    const auto initialize = win::function_of<decltype(SymInitialize)>(dbghelp, "SymInitialize");
    const auto load = win::function_of<decltype(SymLoadModuleEx)>(dbghelp, "SymLoadModuleEx");
    const auto find = win::function_of<decltype(SymFromAddr)>(dbghelp, "SymFromAddr");
    const auto clean_up = win::function_of<decltype(SymCleanup)>(dbghelp, "SymCleanup");
    initialize(nobody, nullptr, FALSE);
    static const char* const kNames[] = {"kernel32.dll", "kernelbase.dll", "ntdll.dll"};
    for (const char* name : kNames) {
        HMODULE const module = GetModuleHandleA(name);
        char path[MAX_PATH];
        GetModuleFileNameA(module, path, sizeof path);
        const auto base = reinterpret_cast<uintptr_t>(module);
        load(nobody, nullptr, path, nullptr, base, 0, nullptr, 0);
        SYMBOL_INFO symbol = {};
        symbol.SizeOfStruct = sizeof symbol;
        find(nobody, base + 0x10000, nullptr, &symbol);
    }
    clean_up(nobody);
    FreeLibrary(dbghelp);
}

// Their handles' low halves are indices of one table.
unsigned gdi_objects() {
    unsigned count = 0;
    for (uintptr_t index = 1; index < 0x10000; ++index)
        count += GetObjectType(reinterpret_cast<HGDIOBJ>(index)) != 0;
    return count;
}

// The lowest number that is free, which grows with every object that is left behind.
unsigned fresh_user_object() {
    HMENU const menu = CreateMenu();
    const unsigned number = LOWORD(reinterpret_cast<uintptr_t>(menu));
    DestroyMenu(menu);
    return number;
}

unsigned long long taken_addresses() {
    unsigned long long taken = 0;
    MEMORY_BASIC_INFORMATION region;
    for (char* place = nullptr; VirtualQuery(place, &region, sizeof region); place += region.RegionSize)
        taken += region.State == MEM_FREE ? 0 : region.RegionSize;
    return taken / 1024;
}

unsigned long long heap_bytes() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    unsigned long long held = 0;
    for (DWORD i = 0; i < count && i < 64; ++i) {
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[i], &entry))
            held += entry.wFlags & PROCESS_HEAP_ENTRY_BUSY ? entry.cbData : 0;
    }
    return held;
}

bool obey(char* line) {
    char* what = line;
    char* rest = rest_of(line);
    const bool plain = strcmp(what, "plain") == 0;
    if (plain) {
        what = rest;
        rest = rest_of(rest);
    }
    const bool by_mail = strcmp(what, "mail") == 0;
    for (int count = atoi(rest); count > 0; --count) {
        if (plain) {
            show_plain_dialog(by_mail ? 299 : 300);
            if (by_mail) {
                read_symbols();
                ShellExecuteA(nullptr, "open", "plain.eml", nullptr, nullptr, SW_SHOW);
            }
        } else
            fail_and_report(by_mail);
    }
    printf("usage %u %u %u %u %llu %llu\n", gdi_objects(), fresh_user_object(), process_handles(), process_memory().own,
           taken_addresses(), heap_bytes());
    return true;
}

} // namespace

int main() {
    InitCrushReport();
    attach_notes_and_screenshot();
    CloseHandle(CreateThread(nullptr, 0, press_first_button, nullptr, 0, nullptr));
    return obey_commands(obey);
}
