// Every thrown type's descriptor begins with a pointer to the table of type_info, which msvcrt.dll does not export.
// The runtime compares descriptors by name and never calls through the table.

extern "C" [[noreturn]] void terminate_process() __asm__("?terminate@@YAXXZ");

namespace {

void type_info_destructor() {}

} // namespace

extern "C" {

extern void (*const kTypeInfoTable[])() __asm__("??_7type_info@@6B@");
void (*const kTypeInfoTable[])() = {type_info_destructor};

// Reached when an exception meets a noexcept function.
[[noreturn]] void __std_terminate() {
    terminate_process();
}
}
