// The manager of the process, over the libraries of the system.
#include <new>
#include <windows.h>

#include "glib/filter_manager.h"
#include "win/library.h"

namespace glib {

namespace {

class SystemLoader : public ModuleLoader {
public:
    void* Load(const char* path, unsigned flags) override { return win::load_quietly(path, flags); }
    void* Find(void* module, const char* entry) override {
        return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), entry));
    }
    void Free(void* module) override { FreeLibrary(static_cast<HMODULE>(module)); }
};

} // namespace

FilterManager& filter_manager() {
    static SystemLoader loader;
    alignas(FilterManager) static unsigned char storage[sizeof(FilterManager)];
    static FilterManager* const kManager = new (storage) FilterManager(loader);
    return *kManager;
}

} // namespace glib
