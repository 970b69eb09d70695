// Unloaded modules are in the order in which they went. Of several that were at one address the last one counts.
#include "companions/faultkit/capture/module_table.h"

namespace faultkit {

Module* ModuleTable::next() {
    if (m_count == kMostModules) {
        ++m_left_out;
        return nullptr;
    }
    return &m_modules[m_count];
}

void ModuleTable::remove_unloaded(unsigned index) {
    for (unsigned i = index + 1; i < m_unloaded_count; ++i)
        m_unloaded[i - 1] = m_unloaded[i];
    --m_unloaded_count;
}

void ModuleTable::add_unloaded(const UnloadedModule& module) {
    for (unsigned i = 0; i < m_unloaded_count; ++i)
        if (m_unloaded[i].base == module.base && m_unloaded[i].time_stamp == module.time_stamp) {
            remove_unloaded(i);
            break;
        }
    if (m_unloaded_count == kMostUnloaded)
        remove_unloaded(0);
    m_unloaded[m_unloaded_count++] = module;
}

void ModuleTable::drop_newcomer(Address base) {
    for (unsigned i = 0; i < m_count; ++i) {
        const Image& image = m_modules[i].image;
        if (image.base != base)
            continue;
        for (unsigned j = 0; j < m_unloaded_count; ++j)
            if (m_unloaded[j].base < image.base + image.size && image.base < m_unloaded[j].base + m_unloaded[j].size) {
                m_modules[i] = m_modules[--m_count];
                return;
            }
    }
}

const Module* ModuleTable::find(Address address) const {
    for (unsigned i = 0; i < m_count; ++i)
        if (address - m_modules[i].image.base < m_modules[i].image.size)
            return &m_modules[i];
    return nullptr;
}

const UnloadedModule* ModuleTable::find_unloaded(Address address) const {
    for (unsigned i = m_unloaded_count; i-- > 0;)
        if (address - m_unloaded[i].base < m_unloaded[i].size)
            return &m_unloaded[i];
    return nullptr;
}

bool ModuleTable::is_or_was_code(Address address) const {
    if (find(address))
        return find_code(address) != nullptr;
    // The first page of a module holds its headers.
    const UnloadedModule* gone = find_unloaded(address);
    return gone && address - gone->base >= 0x1000;
}

const CodeRange* ModuleTable::find_code(Address address) const {
    const Module* module = find(address);
    for (unsigned i = 0; module && i < module->image.range_count; ++i)
        if (address - module->image.code[i].begin < module->image.code[i].end - module->image.code[i].begin)
            return &module->image.code[i];
    return nullptr;
}

} // namespace faultkit
