#include "companions/faultkit/symbol_session.h"

#include <string.h>

#include "companions/faultkit/text_builder.h"
#include "win/ansi_path.h"

namespace faultkit {
namespace {

// A function that a module without debugging information exports names what lies close behind it, and no more.
constexpr uint32_t kExportReach = 0x400;

ProcessMemory* walked_memory; // the library's callback takes no argument of ours

BOOL CALLBACK read_for_walk(HANDLE, DWORD64 address, void* to, DWORD size, DWORD* done) {
    *done = 0;
    if (!walked_memory->read(static_cast<uint32_t>(address), to, size))
        return FALSE;
    *done = size;
    return TRUE;
}

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

template <class Step>
bool SymbolSession::attempt(Step step) {
    if (state_ != kOpen)
        return false;
    if (guarded(&fault_, step))
        return true;
    state_ = kFailed; // its data may be half changed, its lock held: neither used nor freed any more
    return false;
}

bool SymbolSession::open(ProcessMemory& memory, const ModuleTable& modules) {
    memory_ = walked_memory = &memory;
    modules_ = &modules;
    fault_ = {};
    session_ = nullptr;
    memset(module_states_, kUntried, sizeof module_states_);
    state_ = kOpen;
    bool opened = false;
    attempt([&] {
        if (!library_.open() || !library_.has_symbols())
            return;
        // Any unique value will do, and a thread's handle is one. Led to the process, some versions read every file
        // that is mapped in it, which takes ten times as long as all the rest.
        if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &session_, 0, FALSE,
                             DUPLICATE_SAME_ACCESS))
            return;
        build_search_path(path_, sizeof path_);
        options_before_ = library_.get_options();
        library_.set_options(SYMOPT_UNDNAME | SYMOPT_LOAD_LINES | SYMOPT_FAIL_CRITICAL_ERRORS | SYMOPT_NO_PROMPTS);
        opened = library_.initialize(session_, path_, FALSE) != FALSE;
        if (!opened)
            library_.set_options(options_before_);
    });
    if (state_ == kOpen && !opened) {
        if (session_)
            CloseHandle(session_);
        library_.close();
        state_ = kClosed;
    }
    return state_ == kOpen;
}

// Consecutive stretches become one.
void SymbolSession::note_unloads(uint32_t begin) {
    const uint32_t end = next_unload_sequence(*memory_);
    if (unload_count_ && unloads_[unload_count_ - 1].end == begin)
        unloads_[unload_count_ - 1].end = end;
    else if (unload_count_ < 4)
        unloads_[unload_count_++] = {begin, end};
}

void SymbolSession::close() {
    attempt([&] {
        const uint32_t begin = next_unload_sequence(*memory_);
        library_.cleanup(session_);
        library_.set_options(options_before_);
        CloseHandle(session_);
        library_.close();
        note_unloads(begin);
    });
    if (state_ == kOpen)
        state_ = kClosed;
}

void SymbolSession::load_module(const Module& module, ModuleState* state) {
    *state = kNothing;
    const DWORD length =
        win::module_path(reinterpret_cast<HMODULE>(module.image.base), path_, static_cast<DWORD>(sizeof path_));
    if (length == 0 || length >= sizeof path_)
        return;
    if (!library_.load_module(session_, nullptr, path_, nullptr, module.image.base, module.image.size, nullptr, 0))
        return;
    module_info_.SizeOfStruct = sizeof module_info_;
    if (!library_.module_info(session_, module.image.base, &module_info_))
        return;
    switch (module_info_.SymType) {
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

SymbolSession::ModuleState SymbolSession::load_module_of(uint32_t address) {
    const Module* module = modules_->find(address);
    if (!module)
        return kNothing;
    ModuleState* state = &module_states_[module - &(*modules_)[0]];
    if (*state == kUntried)
        attempt([&] { load_module(*module, state); });
    return *state;
}

void SymbolSession::keep_symbol(SourcePlace* place, DWORD64 displacement) {
    TextBuilder(place->function).name(symbol_.info.Name, sizeof place->function - 1);
    place->displacement = static_cast<uint32_t>(displacement);
}

void SymbolSession::keep_line(SourcePlace* place) {
    if (!line_.FileName || !line_.LineNumber)
        return;
    TextBuilder(place->file).tail_of_name(line_.FileName, sizeof place->file - 1);
    place->line = line_.LineNumber;
}

void SymbolSession::find_symbol(uint32_t address, bool exports_only, SourcePlace* place) {
    DWORD64 displacement = 0;
    DWORD column = 0;
    if (library_.symbol_at(session_, address, &displacement, &symbol_.info) &&
        !(exports_only && displacement > kExportReach))
        keep_symbol(place, displacement);
    if (library_.line_at(session_, address, &column, &line_))
        keep_line(place);
}

unsigned SymbolSession::find_inlined(uint32_t address, SourcePlace* places, unsigned most) {
    DWORD context = 0, index = 0, column = 0;
    unsigned count = library_.inline_count ? library_.inline_count(session_, address) : 0;
    if (!count ||
        !library_.inline_query(session_, address, INLINE_FRAME_CONTEXT_INIT, address, address, &context, &index))
        return 0;
    count = count < most ? count : most;
    for (unsigned i = 0; i < count; ++i) {
        DWORD64 displacement = 0;
        places[i].inlined = true;
        if (library_.inline_symbol(session_, address, context + i, &displacement, &symbol_.info))
            keep_symbol(&places[i], displacement);
        if (library_.inline_line(session_, address, context + i, 0, &column, &line_))
            keep_line(&places[i]);
    }
    return count;
}

unsigned SymbolSession::find_places(uint32_t address, SourcePlace* places, unsigned most) {
    for (unsigned i = 0; i < most; ++i)
        places[i] = SourcePlace();
    const ModuleState known = load_module_of(address);
    if (known != kDebugInfo && known != kExports)
        return 1;
    symbol_.info = SYMBOL_INFO();
    symbol_.info.SizeOfStruct = sizeof symbol_.info;
    symbol_.info.MaxNameLen = sizeof(SourcePlace::function);
    line_ = IMAGEHLP_LINE64();
    line_.SizeOfStruct = sizeof line_;
    unsigned inlined = 0;
    attempt([&] {
        inlined = known == kDebugInfo ? find_inlined(address, places, most - 1) : 0;
        find_symbol(address, known == kExports, &places[inlined]);
    });
    return inlined + 1;
}

void SymbolSession::walk_one_step(const Frame& frame, Frame* caller, bool* found) {
    walk_context_ = CONTEXT();
    walk_context_.ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER;
    walk_context_.Eip = frame.pc;
    walk_context_.Esp = frame.sp;
    walk_context_.Ebp = frame.bp;
    walk_frame_ = STACKFRAME64();
    walk_frame_.AddrPC = {frame.pc, 0, AddrModeFlat};
    walk_frame_.AddrStack = {frame.sp, 0, AddrModeFlat};
    walk_frame_.AddrFrame = {frame.bp, 0, AddrModeFlat};
    // The first answer is the frame itself, the second its caller.
    for (int i = 0; i < 2; ++i)
        if (!library_.walk(IMAGE_FILE_MACHINE_I386, session_, GetCurrentThread(), &walk_frame_, &walk_context_,
                           read_for_walk, library_.function_table, library_.module_base, nullptr))
            return;
    *caller = {static_cast<uint32_t>(walk_frame_.AddrPC.Offset), walk_context_.Esp, walk_context_.Ebp,
               FrameOrigin::kSymbols};
    *found = true;
}

bool SymbolSession::find_caller(const Frame& frame, Frame* caller) {
    bool found = false;
    return load_module_of(frame.instruction()) == kDebugInfo &&
           attempt([&] { walk_one_step(frame, caller, &found); }) && found;
}

} // namespace faultkit
