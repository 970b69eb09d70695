// A list is one text with a line feed between the names; a name without a dot gets the extension ".dll".
#include "glib/module_list.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace glib {

void ModuleList::Clear() noexcept {
    for (unsigned i = 0; i < m_count; ++i)
        free(m_names[i]);
    free(static_cast<void*>(m_names));
    m_names = nullptr;
    m_count = 0;
}

void ModuleList::Swap(ModuleList& other) noexcept {
    char** const names = m_names;
    const unsigned count = m_count;
    m_names = other.m_names;
    m_count = other.m_count;
    other.m_names = names;
    other.m_count = count;
}

void ModuleList::Add(const char* list) {
    if (!list)
        return;
    while (*list) {
        const size_t length = strcspn(list, "\n");
        if (length)
            add_name(list, length);
        list += length;
        if (*list)
            ++list;
    }
}

void ModuleList::add_name(const char* name, size_t length) {
    // First a place for the name, then the name: what fails in between leaves a list of whole names.
    static const char kExtension[] = ".dll";
    char** names = static_cast<char**>(realloc(static_cast<void*>(m_names), (m_count + 1) * sizeof(char*)));
    if (!names)
        gen::throw_out_of_memory();
    m_names = names;
    char* copy = static_cast<char*>(malloc(length + sizeof(kExtension)));
    if (!copy)
        gen::throw_out_of_memory();
    memcpy(copy, name, length);
    copy[length] = 0;
    if (!memchr(name, '.', length))
        strcpy(copy + length, kExtension);
    m_names[m_count++] = copy;
}

gen::basic_string<char> module_directory(const char* directory) {
    gen::basic_string<char> kept(directory ? directory : "");
    const unsigned length = kept.length();
    if (length && kept[length - 1] == '\\')
        kept = kept.left(static_cast<int>(length) - 1);
    return kept;
}

gen::basic_string<char> module_path(const gen::basic_string<char>& directory, const char* name) {
    if (directory.empty())
        return name;
    return directory + "\\" + name;
}

EntryName::EntryName(const char* pattern, EFormat format) {
    sprintf(text, pattern, FormatName(format).text); // the longest has 21 characters
}

} // namespace glib
