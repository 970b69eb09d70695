// Puts the processor's floating-point state into one that reports don't expect, faults, makes a report, and says what
// became of the state.
//
// usage: floating_point_host mail|failing|members|upload STATE [ATTACHMENT]
//   mail     OpenCrushReport, with a screenshot
//   failing  an OpenCrushReport that faults itself, where nothing guards it
//   members  the members of CCrashReport, one by one
//   upload   those of CCrashReport2
// Prints "caught MARKER", what each call answered, "kept NAME" or "CHANGED NAME: ..." after each call, and "end".
#include <windows.h>
#include <float.h>
#include <stdio.h>
#include <string.h>

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

HICON WINAPI load_no_icon(HINSTANCE, LPCSTR) {
    write_null();
    return nullptr;
}

__attribute__((noinline)) void fail_in_report(const char* marker) {
    try {
        OpenCrushReport(marker);
    } catch (char*) {
    }
}

void report(const char* road, const char* attachment, const char* marker, const FloatingPoint& before) {
    unsigned answer = 0;
    if (strcmp(road, "mail") == 0) {
        SetCreateScreenCopy(1);
        look_at("OpenCrushReport", before, [&] { OpenCrushReport(marker); });
    } else if (strcmp(road, "failing") == 0) {
        replace_import(GetModuleHandleA("Wendax.dll"), "user32.dll", "LoadIconA", load_no_icon);
        look_at("OpenCrushReport", before, [&] { fail_in_report(marker); });
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
