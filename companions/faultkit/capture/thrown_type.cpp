// The parameters are a magic number, the object, and the description of its type: at 12 the list of the types it can be
// caught as, a count and then the types, of which the first is the object's own; a type has its descriptor at 4 and at
// 8 the place of its part in the object; the descriptor's name follows two pointers. With 64 bits all these are counted
// from the start of an image, which is one more parameter.
#include "companions/faultkit/capture/fault_facts.h"

#include <string.h>

namespace faultkit {
namespace {

// One type that a thrown object can be caught as.
struct CaughtType {
    Address entry;
    char name[128];
};

class ThrownTypes {
public:
    ThrownTypes(Memory& memory, const Address* parameters, uint32_t count) : m_memory(memory) {
        constexpr uint32_t kOldestMagic = 0x19930520, kNewestMagic = 0x19930522, kMostTypes = 32;
        constexpr bool kRelative = sizeof(Address) == 8;
        if (count < (kRelative ? 4 : 3) || parameters[0] < kOldestMagic || parameters[0] > kNewestMagic)
            return;
        m_base = kRelative ? parameters[3] : 0;
        uint32_t list = 0;
        if (!memory.read_u32(parameters[2] + 12, &list))
            return;
        m_list = m_base + list;
        // The first is read all the same: its name is what matters most.
        if (!memory.read_u32(m_list, &m_count) || m_count == 0 || m_count > kMostTypes)
            m_count = 1;
    }

    uint32_t count() const { return m_count; }

    bool read(uint32_t index, CaughtType* type) {
        uint32_t entry = 0, descriptor = 0;
        if (!m_memory.read_u32(m_list + 4 + index * 4, &entry) || !m_memory.read_u32(m_base + entry + 4, &descriptor))
            return false;
        type->entry = m_base + entry;
        return m_memory.read_text(m_base + descriptor + 2 * sizeof(Address), type->name, sizeof type->name);
    }

private:
    Memory& m_memory;
    Address m_base = 0, m_list = 0;
    uint32_t m_count = 0;
};

bool is_text(const char* name) {
    static const char* const kTexts[] = {".PAD", ".PBD", ".PEAD", ".PEBD"};
    for (const char* text : kTexts)
        if (strcmp(name, text) == 0)
            return true;
    return false;
}

// As they are called in the system's runtime, and in all later ones.
bool is_exception(const char* name) {
    return strcmp(name, ".?AVexception@@") == 0 || strcmp(name, ".?AVexception@std@@") == 0;
}

} // namespace

void read_thrown_type(Memory& memory, const Address* parameters, uint32_t count, char (&type)[128]) {
    ThrownTypes types(memory, parameters, count);
    CaughtType first = {};
    if (types.count())
        types.read(0, &first);
    memcpy(type, first.name, sizeof type);
}

void read_thrown_text(Memory& memory, const Address* parameters, uint32_t count, char* text, uint32_t size) {
    text[0] = '\0';
    ThrownTypes types(memory, parameters, count);
    for (uint32_t i = 0; i < types.count(); ++i) {
        CaughtType type;
        int32_t place[2] = {0, -1}; // in the object, and the table of a virtual base
        Address at = parameters[1], pointer = 0;
        if (!types.read(i, &type))
            return;
        if (is_exception(type.name)) {
            if (!memory.read(type.entry + 8, place, sizeof place) || place[1] != -1)
                return;
            at += static_cast<Address>(static_cast<intptr_t>(place[0])) + sizeof(Address); // behind the vtable
        } else if (!is_text(type.name)) {
            continue;
        }
        if (memory.read_address(at, &pointer) && pointer)
            memory.read_text(pointer, text, size);
        return;
    }
}

} // namespace faultkit
