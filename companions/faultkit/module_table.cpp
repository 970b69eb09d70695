#include "companions/faultkit/module_table.h"

#include <string.h>

namespace faultkit {

Module* ModuleTable::next() {
    if (count_ == kMostModules) {
        ++left_out_;
        return nullptr;
    }
    return &modules_[count_];
}

void ModuleTable::remove_unloaded(unsigned index) {
    for (unsigned i = index + 1; i < unloaded_count_; ++i)
        unloaded_[i - 1] = unloaded_[i];
    --unloaded_count_;
}

void ModuleTable::add_unloaded(const UnloadedModule& module) {
    for (unsigned i = 0; i < unloaded_count_; ++i)
        if (unloaded_[i].base == module.base && unloaded_[i].time_stamp == module.time_stamp) {
            remove_unloaded(i);
            break;
        }
    if (unloaded_count_ == kMostUnloaded)
        remove_unloaded(0);
    unloaded_[unloaded_count_++] = module;
}

void ModuleTable::drop_newcomer(uint32_t base) {
    for (unsigned i = 0; i < count_; ++i) {
        const Image& image = modules_[i].image;
        if (image.base != base)
            continue;
        for (unsigned j = 0; j < unloaded_count_; ++j)
            if (unloaded_[j].base < image.base + image.size && image.base < unloaded_[j].base + unloaded_[j].size) {
                modules_[i] = modules_[--count_];
                return;
            }
    }
}

bool ModuleTable::is_same_as(const ModuleTable& other) const {
    if (count_ != other.count_ || unloaded_count_ != other.unloaded_count_)
        return false;
    for (unsigned i = 0; i < count_; ++i) {
        const Module &ours = modules_[i], &theirs = other.modules_[i];
        if (!ours.image.is_same_as(theirs.image) || strcmp(ours.name, theirs.name) != 0)
            return false;
    }
    for (unsigned i = 0; i < unloaded_count_; ++i)
        if (unloaded_[i].base != other.unloaded_[i].base || strcmp(unloaded_[i].name, other.unloaded_[i].name) != 0)
            return false;
    return true;
}

const Module* ModuleTable::find(uint32_t address) const {
    for (unsigned i = 0; i < count_; ++i)
        if (address - modules_[i].image.base < modules_[i].image.size)
            return &modules_[i];
    return nullptr;
}

const UnloadedModule* ModuleTable::find_unloaded(uint32_t address) const {
    for (unsigned i = unloaded_count_; i-- > 0;)
        if (address - unloaded_[i].base < unloaded_[i].size)
            return &unloaded_[i];
    return nullptr;
}

bool ModuleTable::is_or_was_code(uint32_t address) const {
    if (find(address))
        return find_code(address) != nullptr;
    // The first page of a module holds its headers.
    const UnloadedModule* gone = find_unloaded(address);
    return gone && address - gone->base >= 0x1000;
}

const CodeRange* ModuleTable::find_code(uint32_t address) const {
    const Module* module = find(address);
    for (unsigned i = 0; module && i < module->image.range_count; ++i)
        if (address - module->image.code[i].begin < module->image.code[i].end - module->image.code[i].begin)
            return &module->image.code[i];
    return nullptr;
}

} // namespace faultkit
