// The format modules: which there are, which formats they serve, and the calls into them.
#pragma once

#include "base/array_ptr.h"
#include "base/basic_string.h"
#include "glib/format_table.h"
#include "glib/image_data_exchange.h"
#include "glib/module_list.h"
#include "glib/save_record.h"

class VStream;

namespace glib {

// How the manager gets at dynamic libraries.
class ModuleLoader {
public:
    virtual void* Load(const char* path, unsigned flags) = 0; // flags as LoadLibraryEx; null on failure
    virtual void* Find(void* module, const char* entry) = 0;  // null when the module lacks it
    virtual void Free(void* module) = 0;

protected:
    ~ModuleLoader() = default;
};

// A format that can be used now.
struct FilterFormatDesc {
    EFormat format;       // the table's code, or the module's if the table doesn't know the name
    const FormatRow* row; // null if the table doesn't know it
    bool can_save;
    bool has_thumbnail;
};

// Starts out with no directory and the module list "fall\n". Modules are loaded when a format is first needed, in the
// order of the list; for a format that several serve the first one counts. Not synchronised: set-up and first use must
// not race, and everything that uses formats stays on one thread at a time.
//
// A module that can't be loaded or that reports another interface version is passed over in silence; the former is
// tried again when a format is needed that no other module serves. One without GetFilterInfo, or a format without its
// load or information entry, makes a message box appear, once per set-up.
class FilterManager {
public:
    explicit FilterManager(ModuleLoader& loader);
    FilterManager(const FilterManager&) = delete;
    FilterManager& operator=(const FilterManager&) = delete;
    ~FilterManager(); // frees the modules

    // Frees all modules, then takes the module list (one name per line) and the directory that modules are loaded
    // from; null or empty: found as any library of the process. Options keep their values. The texts may be this
    // manager's own. Out of memory: gen::genlib_out_of_memory, with all as it was.
    void SetUp(const char* directory, const char* modules);

    const gen::basic_string<char>& directory() const { return m_directory; }
    const ModuleList& names() const { return m_names; }

    // The formats at hand, loading modules if need be. Row i is checked.
    unsigned FormatCount();
    const FilterFormatDesc& Format(unsigned i);

    // Switches a format's option (FormatRow::options) on or off; all are on at the start. False if the format has none
    // of the key.
    bool SetOption(EFormat format, char key, bool on);

    // Which format the stream's data is, asked of the modules: first of the one that the extension of `name` (may be
    // null) suggests. UNSF, or what the most willing module said against the data. Leaves the stream where it was.
    ResultCode Detect(VStream& stream, const char* name, EFormat* format);

    // The modules' entries. UNSF: no module serves the format. NSUP: the module lacks the entry. DISF: switched off.
    // CFLT: the module faulted, gave a code that there is not, or claims success without a page. After a failed load
    // the exchange has no pages.
    ResultCode Load(EFormat format, ImageDataExchange& image, VStream& stream, int32_t page);
    ResultCode Info(EFormat format, VStream& stream, ImageFileInfo& info);
    ResultCode Thumbnail(EFormat format, ImageDataExchange& image, VStream& stream, uint32_t width, uint32_t height);
    ResultCode Save(EFormat format, ImageDataExchange& image, VStream& stream, const BaseFormatDesc& options);
    // What Save would say without looking at an image: RCOK, UNSF, NSUP or DISF.
    ResultCode CanSave(EFormat format);

private:
    struct ExtItem {
        void* module;
        LoadEntry load;
        InfoEntry info;
        ThumbnailEntry thumbnail; // null: no thumbnails
        SaveEntry save;           // null: read-only
        uint8_t capability;       // the top byte of the format's code
        int32_t index;            // of the format in the table, -1: not there
        EFormat format;
    };

    void drop_modules();
    void bind_all();
    bool bind_module(const char* name);
    bool bind_format(void* module, const char* module_name, EFormat format);
    const ExtItem* find(EFormat format);
    ResultCode check(EFormat format, char option, const ExtItem** item);
    bool is_off(EFormat format, char key) const;

    ModuleLoader& m_loader;
    ModuleList m_names;
    gen::basic_string<char> m_directory;
    gen::array_ptr<ExtItem> m_items;
    gen::array_ptr<FilterFormatDesc> m_formats; // in the order of m_items
    gen::array<void*> m_modules;                // loaded, each once
    gen::array<uint32_t> m_settled;             // of each name: 1 once it need not be tried again
    gen::array<uint32_t> m_switched_off;        // the option's key above the format's name
    bool m_bound = false;
};

// The manager of the process, made at the first call. It is never destroyed: freeing libraries has no place in the end
// of a process.
FilterManager& filter_manager();

} // namespace glib
