// Puts the processor's floating-point state into one that reports don't expect, faults, makes a report, and says what
// became of the state.
//
// usage: floating_point_host mail|failing|members|upload STATE [ATTACHMENT]
//   mail     OpenCrushReport, with a screenshot
//   failing  an OpenCrushReport that faults itself, where nothing guards it; then the members that a host calls and the
//            entries of KOBRTL.dll, each with a fault of its own
//   members  the members of CCrashReport, one by one
//   upload   those of CCrashReport2
// Prints "caught MARKER", what each call answered, "kept NAME" or "CHANGED NAME: ..." after each call, "came back from
// NAME" before that where it should have failed, and "end".
#include <windows.h>
#include <float.h>
#include <stdio.h>
#include <string.h>

#include "companions/kobrtl/kobrtl.h"
#include "include/wendax.h"
#include "testing/cxx/import_slot.h"
#include "testing/cxx/floating_point.h"

namespace {

volatile int zero;
volatile unsigned sse_all_unmasked = 0;
volatile unsigned sse_rounds_up_and_flushes = 0xDF80;

void write_null() {
    *reinterpret_cast<volatile int*>(zero) = 1;
}

void divide_x87() {
    __asm__ volatile("fld1\n\tfldz\n\tfdivrp\n\tfwait");
}

// Zero divided by zero: an invalid operation.
void invalid_x87() {
    __asm__ volatile("fldz\n\tfldz\n\tfdivrp\n\tfwait");
}

void with_invalid_unmasked() {
    load_control_word(0x0372);
    invalid_x87();
}

void with_zero_divide_unmasked() {
    load_control_word(0x037B);
    divide_x87();
}

void with_everything_unmasked() {
    _controlfp(0, _MCW_EM); // with 64 bits that is about SSE alone
    load_control_word(0x0240);
    invalid_x87();
}

void with_inexact_unmasked() {
    load_control_word(0x035F);
    write_null();
}

void with_pending_exception() {
    load_control_word(0x0372);
    __asm__ volatile("fld1\n\tfldz\n\tfdivrp");
    write_null();
}

void with_sse_unmasked() {
    __asm__ volatile("ldmxcsr %0\n\txorps %%xmm0, %%xmm0\n\tdivps %%xmm0, %%xmm0" : : "m"(sse_all_unmasked) : "xmm0");
}

void in_mmx_code() {
    load_control_word(0x0372);
    static const unsigned kValues[2] = {0x01234567, 0x89ABCDEF};
    __asm__ volatile(
        "movq %0, %%mm0\n\tmovq %%mm0, %%mm7\n\tpaddd %%mm0, %%mm7\n\tmovl %1, %%eax\n\tmovq %%mm7, (%%eax)"
        :
        : "m"(kValues), "m"(zero)
        : "eax", "memory");
}

void with_full_stack() {
    load_control_word(0x0372);
    __asm__ volatile("fld1\n\tfldpi\n\tfldl2e\n\tfldlg2\n\tfldln2\n\tfldl2t\n\tfldz\n\tfld1");
    write_null();
}

void with_other_rounding() {
    load_control_word(0x087F); // upwards, to 24 bits
    __asm__ volatile("ldmxcsr %0" : : "m"(sse_rounds_up_and_flushes));
    write_null();
}

struct State {
    const char* name;
    void (*fault)();
};

const State kStates[] = {
    {"invalid", with_invalid_unmasked},
    {"zero-divide", with_zero_divide_unmasked},
    {"everything", with_everything_unmasked},
    {"inexact", with_inexact_unmasked},
    {"pending", with_pending_exception},
    {"sse", with_sse_unmasked},
    {"mmx", in_mmx_code},
    {"full-stack", with_full_stack},
    {"rounding", with_other_rounding},
};

void (*volatile fault)();

void compare(const char* name, const FloatingPoint& before, const FloatingPoint& after) {
    constexpr unsigned kLow = 0xFFFF;
    if (same_floating_point(before, after))
        printf("kept %s\n", name);
    else
        printf("CHANGED %s: control %04X %04X, MXCSR %04X %04X, tags %04X %04X, status %04X %04X\n", name,
               before.control & kLow, after.control & kLow, before.mxcsr, after.mxcsr, before.tags & kLow,
               after.tags & kLow, before.status & kLow, after.status & kLow);
    fflush(stdout);
}

// Calls it in the state that the fault has left.
template <class Call>
void look_at(const char* name, const FloatingPoint& before, Call call) {
    set_floating_point(before);
    call();
    const FloatingPoint after = floating_point();
    calm_floating_point();
    compare(name, before, after);
}

// What the libraries call meanwhile, and fault in.

HICON WINAPI load_no_icon(HINSTANCE, LPCSTR) {
    write_null();
    return nullptr;
}

HINSTANCE WINAPI open_nothing(HWND, LPCSTR, LPCSTR, LPCSTR, LPCSTR, INT) {
    write_null();
    return nullptr;
}

BOOL WINAPI copy_nothing(HDC, int, int, int, int, HDC, int, int, DWORD) {
    write_null();
    return FALSE;
}

HANDLE WINAPI make_no_file(LPCSTR, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) {
    write_null();
    return INVALID_HANDLE_VALUE;
}

int WINAPI show_nothing(HWND, LPCSTR, LPCSTR, UINT) {
    write_null();
    return 0;
}

template <class Function>
bool break_call(const char* caller, const char* library, const char* function, Function* replacement) {
    return replace_import(GetModuleHandleA(caller), library, function, replacement) != nullptr;
}

bool break_calls() {
    return break_call("Wendax.dll", "user32.dll", "LoadIconA", load_no_icon) &&
           break_call("Wendax.dll", "shell32.dll", "ShellExecuteA", open_nothing) &&
           break_call("Wendax.dll", "gdi32.dll", "BitBlt", copy_nothing) &&
           break_call("KOBRTL.dll", "user32.dll", "MessageBoxA", show_nothing);
}

// As the marker, by the translator.
template <class Call>
__attribute__((noinline)) bool fails_translated(Call call) {
    try {
        call();
    } catch (char*) {
        return true;
    }
    return false;
}

// As it is. A function of its own may hold no other handlers.
template <class Call>
__attribute__((noinline)) bool fails_untranslated(Call call) {
    __try {
        call();
    } __except (EXCEPTION_EXECUTE_HANDLER) {
        return true;
    }
    return false;
}

template <class Call>
void look_at_failing(const char* name, const FloatingPoint& before, Call call) {
    bool failed = true;
    look_at(name, before, [&] { failed &= fails_translated(call); });
    const _se_translator_function translator = _set_se_translator(nullptr);
    look_at(name, before, [&] { failed &= fails_untranslated(call); });
    _set_se_translator(translator);
    if (!failed)
        printf("came back from %s\n", name);
}

void fail_in_each(const char* marker, const FloatingPoint& before) {
    if (!break_calls()) {
        puts("not broken");
        return;
    }
    look_at_failing("OpenCrushReport", before, [&] { OpenCrushReport(marker); });
    CCrashReport mail(nullptr);
    look_at_failing("OpenDlg", before, [&] { mail.OpenDlg(); });
    look_at_failing("GenerateEmail", before, [&] { mail.GenerateEmail(0, nullptr, nullptr, nullptr); });
    RECT part = {0, 0, 8, 8};
    look_at_failing("CopyScreenToBitmap", before, [&] { CCrashReport::CopyScreenToBitmap(&part); });
    look_at_failing("MsgBox", before, [] { MsgBox(nullptr, 0, "text"); });
    char* const nowhere = static_cast<char*>(VirtualAlloc(nullptr, 65536, MEM_RESERVE, PAGE_NOACCESS));
    char there[16 * 16 * 3];
    const glib::Scale scale(nowhere, 64, 64, 192, 24, nullptr, 0);
    look_at_failing("ScaleTo", before, [&] { scale.ScaleTo(there, 16, 16, 48, glib::Scale::Area); });
    CCrashReport2 upload(nullptr);
    look_at_failing("upload's OpenDlg", before, [&] { upload.OpenDlg(); });
    break_call("Wendax.dll", "kernel32.dll", "CreateFileA", make_no_file);
    upload.PostRequest("no.txt", "no.txt", "no.txt", "no.txt");
    look_at_failing("Upload", before, [&] { upload.Upload(); });
}

void report(const char* road, const char* attachment, const char* marker, const FloatingPoint& before) {
    unsigned answer = 0;
    if (strcmp(road, "mail") == 0) {
        SetCreateScreenCopy(1);
        look_at("OpenCrushReport", before, [&] { OpenCrushReport(marker); });
    } else if (strcmp(road, "failing") == 0) {
        fail_in_each(marker, before);
    } else if (strcmp(road, "members") == 0) {
        CCrashReport mail(nullptr);
        look_at("AttachScreenCopy", before, [&] { mail.AttachScreenCopy(); });
        look_at("OpenDlg", before, [&] { answer = mail.OpenDlg(); });
        printf("answer %u\n", answer);
        look_at("GenerateEmail", before, [&] { mail.GenerateEmail(0, nullptr, nullptr, nullptr); });
        RECT part = {0, 0, 8, 8};
        look_at("CopyScreenToBitmap", before, [&] { DeleteObject(CCrashReport::CopyScreenToBitmap(&part)); });
    } else {
        CCrashReport2 upload(nullptr);
        upload.PostRequest(attachment, nullptr, nullptr, nullptr);
        look_at("CreateScreenCopy", before, [&] { upload.CreateScreenCopy(); });
        look_at("CreateSystemInfo", before, [&] { upload.CreateSystemInfo(); });
        look_at("Upload", before, [&] { answer = upload.Upload(); });
        printf("answer %u\n", answer);
        look_at("OpenDlg", before, [&] { answer = upload.OpenDlg(); });
        printf("answer %u\n", answer);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    for (const State& state : kStates)
        if (strcmp(state.name, argv[2]) == 0)
            fault = state.fault;
    if (!fault)
        return 2;
    InitCrushReport();
    try {
        fault();
    } catch (char* marker) {
        const FloatingPoint before = floating_point();
        calm_floating_point();
        printf("caught %s\n", marker);
        fflush(stdout);
        report(argv[1], argc > 3 ? argv[3] : nullptr, marker, before);
    }
    calm_floating_point();
    puts("end");
    return 0;
}
