// A function that the library lacks stays null, so that with an old one the rest works. Those for inlined functions
// count only together.
#include "companions/faultkit/walk/debug_library.h"

#include "win/library.h"

namespace faultkit {
namespace {

template <class FunctionType>
void look_up(HMODULE module, const char* name, FunctionType** function) {
    *function = win::function_of<FunctionType>(module, name);
}

} // namespace

bool DebugLibrary::open() {
    *this = DebugLibrary();
    module = win::load_system_library("dbghelp.dll");
    if (!module)
        return false;
    look_up(module, "SymInitialize", &initialize);
    look_up(module, "SymCleanup", &cleanup);
    look_up(module, "SymGetOptions", &get_options);
    look_up(module, "SymSetOptions", &set_options);
    look_up(module, "SymLoadModuleEx", &load_module);
    look_up(module, "SymGetModuleInfo64", &module_info);
    look_up(module, "SymFromAddr", &symbol_at);
    look_up(module, "SymGetLineFromAddr64", &line_at);
    look_up(module, "StackWalk64", &walk);
    look_up(module, "SymFunctionTableAccess64", &function_table);
    look_up(module, "SymGetModuleBase64", &module_base);
    look_up(module, "MiniDumpWriteDump", &write_dump);
    look_up(module, "SymAddrIncludeInlineTrace", &inline_count);
    look_up(module, "SymQueryInlineTrace", &inline_query);
    look_up(module, "SymFromInlineContext", &inline_symbol);
    look_up(module, "SymGetLineFromInlineContext", &inline_line);
    if (!inline_query || !inline_symbol || !inline_line)
        inline_count = nullptr;
    return true;
}

void DebugLibrary::close() {
    if (module)
        FreeLibrary(module);
    *this = DebugLibrary();
}

bool DebugLibrary::has_symbols() const {
    return initialize && cleanup && get_options && set_options && load_module && module_info && symbol_at && line_at &&
           walk && function_table && module_base;
}

} // namespace faultkit
