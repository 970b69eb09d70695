// All modules are loaded when the first format is asked for. One that can't be loaded is tried again the next time; of
// two that serve the same format the first counts.
#include "glib/filter_manager.h"

#include <new>
#include <string.h>

#include "base/text_search.h"
#include "base/owner.h"
#include "companions/kobrtl/kobrtl.h"
#include "glib/module_call.h"
#include "glib/stream.h"

namespace glib {

namespace {

constexpr unsigned kAlteredSearchPath = 8; // LOAD_WITH_ALTERED_SEARCH_PATH
constexpr unsigned kErrorIcon = 0x10;      // MB_ICONERROR
constexpr unsigned kMaxFormats = 256;      // of one module, as its contract says

} // namespace

FilterManager::FilterManager(ModuleLoader& loader) : m_loader(loader) {
    m_names.Add("fall\n");
}

FilterManager::~FilterManager() {
    drop_modules();
}

void FilterManager::drop_modules() {
    m_items.clear();
    m_formats.clear();
    for (unsigned i = m_modules.size(); i-- > 0;)
        m_loader.Free(m_modules[i]);
    m_modules.clear();
    m_settled.clear();
    m_bound = false;
}

void FilterManager::SetUp(const char* directory, const char* modules) {
    // The arguments may be texts of this manager, so they are taken before anything is dropped.
    gen::basic_string<char> kept = module_directory(directory);
    ModuleList names;
    names.Add(modules);
    drop_modules();
    m_names.Swap(names);
    m_directory = static_cast<gen::basic_string<char>&&>(kept);
}

void FilterManager::bind_all() {
    if (m_bound)
        return;
    bool bound = true;
    try {
        m_settled.resize(m_names.size());
        for (unsigned i = 0; i < m_names.size(); ++i) {
            if (!m_settled[i])
                m_settled[i] = bind_module(m_names[i]);
            bound &= m_settled[i] != 0;
        }
    } catch (gen::genlib_out_of_memory&) {
        drop_modules(); // to be bound when there is memory again
        throw;
    }
    m_bound = bound;
}

// False if it couldn't be loaded, which may be otherwise the next time.
bool FilterManager::bind_module(const char* name) {
    const gen::basic_string<char> path = module_path(m_directory, name);
    gen::array<EFormat> formats;
    formats.resize(kMaxFormats);
    m_modules.grow(m_modules.size() + 1); // all memory is taken before, so that a loaded module is never lost
    void* module = m_loader.Load(path.c_str(), m_directory.empty() ? 0 : kAlteredSearchPath);
    if (!module)
        return false;
    const auto get_info = reinterpret_cast<GetFilterInfoEntry>(m_loader.Find(module, "GetFilterInfo"));
    if (!get_info) {
        MsgBox(nullptr, kErrorIcon, "Bad format for '%s'", name);
        m_loader.Free(module);
        return true;
    }
    const unsigned count = call_get_info(get_info, formats.data(), kMaxFormats);
    m_modules.add(module);
    bool serves = false;
    for (unsigned i = 0; i < count; ++i)
        serves |= bind_format(module, name, formats[i]);
    if (!serves) {
        m_modules.remove(m_modules.size() - 1);
        m_loader.Free(module);
    }
    return true;
}

bool FilterManager::bind_format(void* module, const char* module_name, EFormat format) {
    const auto entry = [&](const char* pattern) { return m_loader.Find(module, EntryName(pattern, format).text); };
    const auto load = reinterpret_cast<LoadEntry>(entry(kLoadEntryPattern));
    const auto info = reinterpret_cast<InfoEntry>(entry(kInfoEntryPattern));
    if (!load || !info) {
        MsgBox(nullptr, kErrorIcon, "Bad format for %s, '%s'", FormatName(format).text, module_name);
        return false;
    }
    if (find(format)) // an earlier module serves it
        return false;
    const FormatRow* rows;
    format_table(&rows);
    const FormatRow* row = find_format(format);
    const EFormat code = row ? row->code : format;
    const auto save = reinterpret_cast<SaveEntry>(entry(kSaveEntryPattern));
    const auto thumbnail = reinterpret_cast<ThumbnailEntry>(entry(kThumbnailEntryPattern));

    gen::Owner<ExtItem> item(new (std::nothrow)
                                 ExtItem{module, load, info, thumbnail, save, static_cast<uint8_t>(code >> 24),
                                         row ? static_cast<int32_t>(row - rows) : -1, code});
    gen::Owner<FilterFormatDesc> description(new (std::nothrow)
                                                 FilterFormatDesc{code, row, save != nullptr, thumbnail != nullptr});
    if (!item || !description)
        gen::throw_out_of_memory();
    m_formats.grow(m_formats.size() + 1); // so that of the two additions none fails alone
    m_items.add(gen::move(item));
    m_formats.add(gen::move(description));
    return true;
}

const FilterManager::ExtItem* FilterManager::find(EFormat format) {
    for (unsigned i = 0; i < m_items.size(); ++i)
        if (same_format(m_items[i]->format, format))
            return m_items[i];
    return nullptr;
}

unsigned FilterManager::FormatCount() {
    bind_all();
    return m_formats.size();
}

const FilterFormatDesc& FilterManager::Format(unsigned i) {
    bind_all();
    return *m_formats[i];
}

// What is switched off is noted as one number: the key above the letters of the format's name.
bool FilterManager::SetOption(EFormat format, char key, bool on) {
    const FormatRow* row = find_format(format);
    bool known = false;
    for (unsigned i = 0; row && i < row->option_count; ++i)
        known |= row->options[i].key == key;
    if (!known)
        return false;
    const uint32_t option = static_cast<uint32_t>(static_cast<uint8_t>(key)) << 24 | name_bits(format);
    for (unsigned i = m_switched_off.size(); i-- > 0;)
        if (m_switched_off[i] == option)
            m_switched_off.remove(i);
    if (!on)
        m_switched_off.add(option);
    return true;
}

bool FilterManager::is_off(EFormat format, char key) const {
    for (unsigned i = 0; i < m_switched_off.size(); ++i)
        if (m_switched_off[i] == (static_cast<uint32_t>(static_cast<uint8_t>(key)) << 24 | name_bits(format)))
            return true;
    return false;
}

ResultCode FilterManager::check(EFormat format, char option, const ExtItem** item) {
    *item = find(format);
    if (!*item) {
        bind_all();
        *item = find(format);
    }
    if (!*item)
        return UNSF;
    return is_off(format, option) ? DISF : RCOK;
}

ResultCode FilterManager::CanSave(EFormat format) {
    const ExtItem* item;
    const ResultCode code = check(format, 'W', &item);
    return code == RCOK && !item->save ? NSUP : code;
}

namespace {

// A failed load leaves no pages, and a success has at least one.
ResultCode settled(ResultCode code, ImageDataExchange& image) {
    if (succeeded(code) && !image.pages.size())
        code = CFLT;
    if (!succeeded(code))
        image.Clear();
    return code;
}

} // namespace

ResultCode FilterManager::Load(EFormat format, ImageDataExchange& image, VStream& stream, int32_t page) {
    const ExtItem* item;
    const ResultCode code = check(format, 'R', &item);
    return code == RCOK ? settled(call_load(item->load, image, stream, page), image) : code;
}

ResultCode FilterManager::Info(EFormat format, VStream& stream, ImageFileInfo& info) {
    const ExtItem* item;
    const ResultCode code = check(format, 'R', &item);
    if (code != RCOK)
        return code;
    info = ImageFileInfo{};
    info.format = item->format;
    return call_info(item->info, stream, info);
}

ResultCode FilterManager::Thumbnail(EFormat format, ImageDataExchange& image, VStream& stream, uint32_t width,
                                    uint32_t height) {
    const ExtItem* item;
    const ResultCode code = check(format, 'R', &item);
    if (code != RCOK)
        return code;
    if (!item->thumbnail)
        return NSUP;
    return settled(call_thumbnail(item->thumbnail, image, stream, width, height), image);
}

ResultCode FilterManager::Save(EFormat format, ImageDataExchange& image, VStream& stream,
                               const BaseFormatDesc& options) {
    const ExtItem* item;
    const ResultCode code = check(format, 'W', &item);
    if (code != RCOK)
        return code;
    return item->save ? call_save(item->save, image, stream, options) : NSUP;
}

namespace {

// The format that a file name's extension stands for, EFormat_none if there is none of at most three letters.
EFormat format_of_extension(const char* name) {
    const char* dot = name ? strrchr(name, '.') : nullptr;
    if (!dot || strchr(dot, '\\') || strchr(dot, '/'))
        return EFormat_none;
    char upper[6] = {};
    for (unsigned i = 0; i < 5 && dot[1 + i]; ++i)
        upper[i] = gen::ascii_upper(dot[1 + i]);
    if (!strcmp(upper, "JPEG") || !strcmp(upper, "JPE"))
        return EFormat_JPG;
    if (!strcmp(upper, "TIFF"))
        return format_from_name("TIF");
    return format_from_name(upper);
}

} // namespace

// The format that the extension names is tried first, then the others in their order. Where nobody takes the data, the
// first answer that knew it (as damaged, say) tells more than that it is of no known type.
ResultCode FilterManager::Detect(VStream& stream, const char* name, EFormat* format) {
    bind_all();
    *format = EFormat_none;
    const uint64_t start = stream.Tell();
    const ExtItem* const expected = find(format_of_extension(name));
    ResultCode verdict = UNSF;
    for (unsigned i = 0; i <= m_items.size(); ++i) {
        const ExtItem* const tried = i ? m_items[i - 1] : expected;
        if (!tried || (i && tried == expected))
            continue;
        ImageFileInfo info;
        const ResultCode code = Info(tried->format, stream, info);
        stream.SetPosition(start);
        if (succeeded(code)) {
            *format = tried->format;
            return RCOK;
        }
        if (verdict == UNSF && code != BADT)
            verdict = code;
    }
    return verdict;
}

} // namespace glib
