// A stand-in for faultkit.dll whose reason is 300 MB long: the same 64 KB, mapped one behind the other.
#include <windows.h>
#include <string.h>

namespace {

constexpr SIZE_T piece_size = 64 * 1024, piece_count = 300 * 16;
constexpr char word[] = "endless"; // fits into a piece with one character left
constexpr SIZE_T word_size = sizeof word - 1;

// Each piece is its own text but for the last one, whose end is a NUL of its own.
const char* map_reason() {
    HANDLE const section = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, piece_size, nullptr);
    char* const room =
        static_cast<char*>(VirtualAlloc(nullptr, (piece_count + 1) * piece_size, MEM_RESERVE, PAGE_NOACCESS));
    VirtualFree(room, 0, MEM_RELEASE);
    for (SIZE_T i = 0; i < piece_count; ++i) {
        if (!MapViewOfFileEx(section, FILE_MAP_WRITE, 0, 0, piece_size, room + i * piece_size))
            return "the pieces can't be mapped";
    }
    for (SIZE_T i = 0; i < piece_size; ++i)
        room[i] = word[i % word_size];
    VirtualAlloc(room + piece_count * piece_size, piece_size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    return room;
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

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
