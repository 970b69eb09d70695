// Names and paths of format modules: the texts that the format manager works with.
#pragma once

#include "base/basic_string.h"
#include "glib/format_code.h"

namespace glib {

// Module file names, in the order they were given.
class ModuleList {
public:
    ModuleList() = default;
    ModuleList(const ModuleList&) = delete;
    ModuleList& operator=(const ModuleList&) = delete;
    ~ModuleList() { Clear(); }

    void Clear() noexcept;
    void Swap(ModuleList& other) noexcept;
    // Adds every name of `list`: one per line, lines end at a line feed or at the end of the text, empty lines are
    // skipped. A name without any '.' gets ".dll" behind it. Null is an empty list. Out of memory:
    // gen::genlib_out_of_memory, with the names before it added.
    void Add(const char* list);

    unsigned size() const { return m_count; }
    const char* operator[](unsigned i) const { return m_names[i]; } // unchecked

private:
    void add_name(const char* name, size_t length);

    char** m_names = nullptr; // grown with realloc
    unsigned m_count = 0;
};

// The directory as the manager keeps it: without one trailing backslash; null gives an empty text.
gen::basic_string<char> module_directory(const char* directory);

// The path by which a module is loaded: in the directory, or the bare name if that is empty.
gen::basic_string<char> module_path(const gen::basic_string<char>& directory, const char* name);

// The entries of a module, by their names' pattern.
constexpr char kLoadEntryPattern[] = "Load%sImageData";
constexpr char kInfoEntryPattern[] = "Get%sFileInfo";
constexpr char kThumbnailEntryPattern[] = "Load%sImageThumbnail";
constexpr char kSaveEntryPattern[] = "Save%sImageData";

// An entry name of the format.
struct EntryName {
    char text[32];

    EntryName(const char* pattern, EFormat format);
};

} // namespace glib
