// Format modules that live in the test program.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "glib/filter_manager.h"

namespace glib {

struct FakeModule {
    std::map<std::string, void*> entries;

    template <typename Function>
    FakeModule& with(const std::string& name, Function* entry) {
        entries[name] = reinterpret_cast<void*>(entry);
        return *this;
    }
    // The two entries that each format has to have.
    FakeModule& with_format(const std::string& name, LoadEntry load, InfoEntry info) {
        return with("Load" + name + "ImageData", load).with("Get" + name + "FileInfo", info);
    }
};

// Knows modules by the path they are asked for with.
class FakeLoader : public ModuleLoader {
public:
    struct Call {
        std::string path;
        unsigned flags;

        bool operator==(const Call&) const = default;
    };

    void* Load(const char* path, unsigned flags) override {
        loads.push_back({path, flags});
        const auto found = modules.find(path);
        if (found == modules.end())
            return nullptr;
        ++loaded;
        return &found->second;
    }
    void* Find(void* module, const char* entry) override {
        asked.push_back(entry);
        const auto& entries = static_cast<FakeModule*>(module)->entries;
        const auto found = entries.find(entry);
        return found == entries.end() ? nullptr : found->second;
    }
    void Free(void*) override { --loaded; }

    std::map<std::string, FakeModule> modules;
    std::vector<Call> loads;
    std::vector<std::string> asked;
    int loaded = 0; // modules loaded and not yet freed
};

} // namespace glib
