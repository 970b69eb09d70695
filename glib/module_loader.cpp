// The manager of the process, over the libraries of the system.
#include <new>
#include <windows.h>

#include "glib/filter_manager.h"

namespace glib {

namespace {

class SystemLoader : public ModuleLoader {
public:
    void* Load(const char* path, unsigned flags) override {
        // Without it the system may put a box of its own on the screen when a library is no good.
        const UINT mode = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
        SetErrorMode(mode | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
        HMODULE module = LoadLibraryExA(path, nullptr, flags);
        SetErrorMode(mode);
        return module;
    }
    void* Find(void* module, const char* entry) override {
        return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), entry));
    }
    void Free(void* module) override { FreeLibrary(static_cast<HMODULE>(module)); }
};

} // namespace

FilterManager& filter_manager() {
    static SystemLoader loader;
    alignas(FilterManager) static unsigned char storage[sizeof(FilterManager)];
    static FilterManager* const manager = new (storage) FilterManager(loader);
    return *manager;
}

} // namespace glib
