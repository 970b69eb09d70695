// The streams as a caller sees them who knows nothing but the order of their operations: every one is called through
// its slot in the table of virtual operations.
#include "tests/imaging/stream_slots.h"

#include <new>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "glib/mem_stream.h"
#include "glib/stdio_file_stream.h"

namespace {

// A caller's own idea of the table. Destruction takes the flags of a deleting destructor: 0 destroys without freeing.
struct Table {
    void*(__thiscall* destroy)(void*, unsigned);                            //  1
    unsigned(__thiscall* open_wide)(void*, const wchar_t*, const wchar_t*); //  2
    unsigned(__thiscall* open)(void*, const char*, const char*);            //  3
    unsigned(__thiscall* seek)(void*, int64_t, int);                        //  4
    unsigned(__thiscall* end_of_data)(void*);                               //  5
    unsigned(__thiscall* empty)(void*);                                     //  6
    unsigned(__thiscall* error)(void*);                                     //  7
    uint64_t(__thiscall* tell)(void*);                                      //  8
    unsigned(__thiscall* set_position)(void*, uint64_t);                    //  9
    uint64_t(__thiscall* size)(void*);                                      // 10
    int64_t(__thiscall* modification_time)(void*);                          // 11
    unsigned(__thiscall* set_size)(void*, uint64_t);                        // 12
    uint8_t(__thiscall* read_byte)(void*);                                  // 13
    uint16_t(__thiscall* read_word)(void*);                                 // 14
    uint32_t(__thiscall* read_dword)(void*);                                // 15
    uint64_t(__thiscall* read_qword)(void*);                                // 16
    uint32_t(__thiscall* read)(void*, void*, uint32_t, uint32_t);           // 17
    char*(__thiscall* read_line)(void*, char*, uint32_t);                   // 18
    unsigned(__thiscall* write_byte)(void*, uint8_t);                       // 19
    unsigned(__thiscall* write_word)(void*, uint16_t);                      // 20
    unsigned(__thiscall* write_dword)(void*, uint32_t);                     // 21
    unsigned(__thiscall* write_qword)(void*, uint64_t);                     // 22
    uint32_t(__thiscall* write)(void*, const void*, uint32_t, uint32_t);    // 23
    unsigned(__thiscall* write_string)(void*, const char*);                 // 24
    unsigned(__cdecl* write_format)(void*, const char*, ...);               // 25
    unsigned(__thiscall* flush)(void*);                                     // 26
    unsigned(__thiscall* close)(void*);                                     // 27
};
static_assert(sizeof(Table) == 27 * sizeof(void*));

void fact(const char* name, uint64_t value) {
    printf("%s: %lu\n", name, static_cast<unsigned long>(value));
}

void use(void* stream, const char* path) {
    const Table& table = **static_cast<Table**>(stream);
    wchar_t wide[MAX_PATH] = {};
    for (int i = 0; path[i] && i < MAX_PATH - 1; ++i)
        wide[i] = static_cast<unsigned char>(path[i]);
    fact("slot 2", table.open_wide(stream, wide, L"w+b"));
    fact("slot 3", table.open(stream, path, "w+b"));
    fact("slot 6 at first", table.empty(stream));
    fact("slot 19", table.write_byte(stream, 0x41));
    fact("slot 20", table.write_word(stream, 0x4342));
    fact("slot 21", table.write_dword(stream, 0x47464544));
    fact("slot 22", table.write_qword(stream, 0x4F4E4D4C4B4A4948ull));
    fact("slot 23", table.write(stream, "PQRSTU", 2, 3));
    fact("slot 24", table.write_string(stream, "VW"));
    fact("slot 25", table.write_format(stream, "%c%s\n", 'X', "YZ"));
    fact("slot 26", table.flush(stream));
    fact("slot 10", table.size(stream));
    fact("slot 6 then", table.empty(stream));
    fact("slot 8", table.tell(stream));
    fact("slot 4", table.seek(stream, -4, 2));
    char line[64] = "";
    table.read_line(stream, line, sizeof(line));
    printf("slot 18: %s", line);
    fact("slot 9", table.set_position(stream, 0));
    fact("slot 13", table.read_byte(stream));
    fact("slot 14", table.read_word(stream));
    fact("slot 15", table.read_dword(stream));
    fact("slot 16 ends", table.read_qword(stream) >> 56);
    char bytes[64] = "";
    const uint32_t count = table.read(stream, bytes, 3, 20);
    fact("slot 17", count);
    printf("slot 17 read: %.11s\n", bytes);
    fact("slot 5", table.end_of_data(stream));
    fact("slot 7", table.error(stream));
    fact("slot 11 is old", table.modification_time(stream) < 1000000000);
    fact("slot 12", table.set_size(stream, 7));
    fact("slot 10 then", table.size(stream));
    fact("slot 27", table.close(stream));
    fact("slot 1 gives the object", table.destroy(stream, 0) == stream);
}

} // namespace

int stream_slots(const char* path) {
    alignas(VMemStream) static char memory[sizeof(VMemStream)];
    puts("memory");
    use(new (memory) VMemStream, path);
    alignas(VStdioFileStream) static char file[sizeof(VStdioFileStream)];
    puts("file");
    use(new (file) VStdioFileStream, path);
    return 0;
}
