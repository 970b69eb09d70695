// A stand-in for faultkit.dll whose reason is 300 MB long: the same 64 KB, mapped one behind the other.
#include <windows.h>
#include <string.h>

namespace {

constexpr SIZE_T kPieceSize = 64 * 1024, kPieceCount = 300 * 16;
constexpr char kWord[] = "endless"; // fits into a piece with one character left
constexpr SIZE_T kWordSize = sizeof kWord - 1;

// Each piece is its own text but for the last one, whose end is a NUL of its own.
const char* map_reason() {
    HANDLE const section = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kPieceSize, nullptr);
    char* const place =
        static_cast<char*>(VirtualAlloc(nullptr, (kPieceCount + 1) * kPieceSize, MEM_RESERVE, PAGE_NOACCESS));
    VirtualFree(place, 0, MEM_RELEASE);
    for (SIZE_T i = 0; i < kPieceCount; ++i) {
        if (!MapViewOfFileEx(section, FILE_MAP_WRITE, 0, 0, kPieceSize, place + i * kPieceSize))
            return "the pieces can't be mapped";
    }
    for (SIZE_T i = 0; i < kPieceSize; ++i)
        place[i] = kWord[i % kWordSize];
    VirtualAlloc(place + kPieceCount * kPieceSize, kPieceSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    return place;
}

} // namespace

extern "C" const char* __cdecl GetFaultReason(EXCEPTION_POINTERS*) {
    return map_reason();
}

extern "C" const char* __cdecl GetFirstStackTraceString(unsigned, EXCEPTION_POINTERS*) {
    return nullptr;
}

extern "C" const char* __cdecl GetNextStackTraceString(unsigned, EXCEPTION_POINTERS*) {
    return nullptr;
}
