// Looks at a CSeException the way a caller does that was compiled without our headers: virtual functions by their
// numbers, fields at their offsets. Prints one "name: value" a line.
#include <stdio.h>

#include "report/se_exception.h"
#include "testing/cxx/foreign_view.h"

namespace {

constexpr unsigned kSlots = 7;

void show_class(void* exception) {
    const CRuntimeClass* const record = slot_of<CRuntimeClass* __thiscall(void*)>(exception, 1)(exception);
    printf("slot 1 class: %s\n", record->m_lpszClassName);
    printf("slot 1 base: %s\n", record->m_pBaseClass->m_lpszClassName);
    printf("slot 1 root: %s\n", record->m_pBaseClass->m_pBaseClass->m_lpszClassName);
}

void show_slots(void* exception, void* base) {
    bool own = true, inherited = true;
    for (unsigned i = 0; i < kSlots; ++i) {
        const bool same = slots_of(exception)[i] == slots_of(base)[i];
        own = own && (i >= 2 || !same);
        inherited = inherited && (i < 2 || same);
    }
    printf("slots 1 and 2 are its own: %d\n", own);
    printf("slots 3 to 7 are the base's: %d\n", inherited);
    char text[8] = "before";
    const BOOL known =
        slot_of<BOOL __thiscall(void*, char*, UINT, UINT*)>(exception, 6)(exception, text, sizeof(text), nullptr);
    printf("slot 6 has no text: %d\n", !known && !*text);
}

} // namespace

int main() {
    EXCEPTION_POINTERS pointers = {};
    void* const exception = new CSeException(0xC0000094, &pointers);
    CException base;
    printf("size: %u\n", static_cast<unsigned>(sizeof(CSeException)));
    constexpr unsigned kPointer = sizeof(void*); // each field begins a pointer's size after the one before
    printf("auto-delete flag at %u: %d\n", kPointer, field<BOOL>(exception, kPointer));
    printf("code at %u: %08X\n", 2 * kPointer, field<unsigned>(exception, 2 * kPointer));
    printf("pointers at %u: %d\n", 3 * kPointer, field<void*>(exception, 3 * kPointer) == &pointers);
    show_class(exception);
    show_slots(exception, &base);
    using Destroy = void* __thiscall(void*, unsigned flags); // flag 1 frees the memory too
    printf("slot 2 destroys: %d\n", slot_of<Destroy>(exception, 2)(exception, 1) == exception);
    return 0;
}
