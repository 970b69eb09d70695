// The symbols of a module are loaded when an address in it is first asked for. The large records that the library fills
// are members, as the stack may be short.
#include "companions/faultkit/walk/symbol_session.h"

#include <string.h>

#include "companions/faultkit/text_builder.h"
#include "win/paths.h"

namespace faultkit {
namespace {

// A function that a module without debugging information exports names what lies close behind it, and no more.
constexpr uint32_t kExportReach = 0x400;

// The folder of the executable, where PDBs are delivered, and the paths that the developer set.
void build_search_path(char* path, unsigned size) {
    DWORD length = win::module_path(nullptr, path, size);
    length = length < size ? length : 0;
    while (length && path[length - 1] != '\\')
        --length;
    path[length] = '\0';
    const char* const variables[] = {"_NT_SYMBOL_PATH", "_NT_ALTERNATE_SYMBOL_PATH"};
    for (const char* variable : variables) {
        const unsigned used = static_cast<unsigned>(strlen(path));
        if (used + 2 > size)
            return;
        path[used] = ';';
        const DWORD added = GetEnvironmentVariableA(variable, path + used + 1, size - used - 1);
        if (added == 0 || added >= size - used - 1)
            path[used] = '\0';
    }
}

} // namespace

bool SymbolSession::open(Memory& memory, const ModuleTable& modules) {
    m_memory = &memory;
    m_modules = &modules;
    m_fault = {};
    m_session = nullptr;
    memset(m_module_states, kUntried, sizeof m_module_states);
    m_state = kOpen;
    bool opened = false;
    attempt([&] {
        if (!m_library.open() || !m_library.has_symbols())
            return;
        // Any unique value will do, and a thread's handle is one. Led to the process, some versions read every file
        // that is mapped in it, which takes ten times as long as all the rest.
        if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &m_session, 0, FALSE,
                             DUPLICATE_SAME_ACCESS))
            return;
        build_search_path(m_path, sizeof m_path);
        m_options_before = m_library.get_options();
        m_library.set_options(SYMOPT_UNDNAME | SYMOPT_LOAD_LINES | SYMOPT_FAIL_CRITICAL_ERRORS | SYMOPT_NO_PROMPTS);
        opened = m_library.initialize(m_session, m_path, FALSE) != FALSE;
        if (!opened)
            m_library.set_options(m_options_before);
    });
    if (m_state == kOpen && !opened) {
        if (m_session)
            CloseHandle(m_session);
        m_library.close();
        m_state = kClosed;
    }
    return m_state == kOpen;
}

void SymbolSession::close() {
    attempt([&] {
        m_library.cleanup(m_session);
        m_library.set_options(m_options_before);
        CloseHandle(m_session);
        m_library.close();
    });
    if (m_state == kOpen)
        m_state = kClosed;
}

void SymbolSession::load_module(const Module& module, ModuleState* state) {
    *state = kNothing;
    const DWORD length =
        win::module_path(reinterpret_cast<HMODULE>(module.image.base), m_path, static_cast<DWORD>(sizeof m_path));
    if (length == 0 || length >= sizeof m_path)
        return;
    if (!m_library.load_module(m_session, nullptr, m_path, nullptr, module.image.base, module.image.size, nullptr, 0))
        return;
    m_module_info.SizeOfStruct = sizeof m_module_info;
    if (!m_library.module_info(m_session, module.image.base, &m_module_info))
        return;
    switch (m_module_info.SymType) {
    case SymPdb:
    case SymDia:
    case SymCv:
        *state = kDebugInfo;
        break;
    case SymExport:
    case SymCoff:
        *state = kExports;
        break;
    default:
        break;
    }
}

SymbolSession::ModuleState SymbolSession::load_module_of(Address address) {
    const Module* module = m_modules->find(address);
    if (!module)
        return kNothing;
    ModuleState* state = &m_module_states[module - &(*m_modules)[0]];
    if (*state == kUntried)
        attempt([&] { load_module(*module, state); });
    return *state;
}

void SymbolSession::keep_symbol(SourcePlace* place, DWORD64 displacement) {
    TextBuilder(place->function).name(m_symbol.info.Name, sizeof place->function - 1);
    place->displacement = static_cast<uint32_t>(displacement);
}

void SymbolSession::keep_line(SourcePlace* place) {
    if (!m_line.FileName || !m_line.LineNumber)
        return;
    TextBuilder(place->file).tail_of_name(m_line.FileName, sizeof place->file - 1);
    place->line = m_line.LineNumber;
}

void SymbolSession::find_symbol(Address address, bool exports_only, SourcePlace* place) {
    DWORD64 displacement = 0;
    DWORD column = 0;
    if (m_library.symbol_at(m_session, address, &displacement, &m_symbol.info) &&
        !(exports_only && displacement > kExportReach))
        keep_symbol(place, displacement);
    if (m_library.line_at(m_session, address, &column, &m_line))
        keep_line(place);
}

unsigned SymbolSession::find_inlined(Address address, SourcePlace* places, unsigned most) {
    DWORD context = 0, index = 0, column = 0;
    unsigned count = m_library.inline_count ? m_library.inline_count(m_session, address) : 0;
    if (!count ||
        !m_library.inline_query(m_session, address, INLINE_FRAME_CONTEXT_INIT, address, address, &context, &index))
        return 0;
    // From the innermost on: the contexts of the functions around it have the numbers that follow.
    count = count < most ? count : most;
    for (unsigned i = 0; i < count; ++i) {
        DWORD64 displacement = 0;
        places[i].inlined = true;
        if (m_library.inline_symbol(m_session, address, context + i, &displacement, &m_symbol.info))
            keep_symbol(&places[i], displacement);
        if (m_library.inline_line(m_session, address, context + i, 0, &column, &m_line))
            keep_line(&places[i]);
    }
    return count;
}

unsigned SymbolSession::find_places(Address address, SourcePlace* places, unsigned most) {
    for (unsigned i = 0; i < most; ++i)
        places[i] = SourcePlace();
    const ModuleState known = load_module_of(address);
    if (known != kDebugInfo && known != kExports)
        return 1;
    m_symbol.info = SYMBOL_INFO();
    m_symbol.info.SizeOfStruct = sizeof m_symbol.info;
    m_symbol.info.MaxNameLen = sizeof(SourcePlace::function);
    m_line = IMAGEHLP_LINE64();
    m_line.SizeOfStruct = sizeof m_line;
    unsigned inlined = 0;
    attempt([&] {
        inlined = known == kDebugInfo ? find_inlined(address, places, most - 1) : 0;
        find_symbol(address, known == kExports, &places[inlined]);
    });
    return inlined + 1;
}

} // namespace faultkit
