// The texts that are cut out of what files and the registry hold: product versions, printer entries, instruction sets,
// Windows versions.
#include <string.h>

#include "sysinfo/instruction_set_setting.h"
#include "sysinfo/system_info_text.h"
#include "sysinfo/version_texts.h"
#include "sysinfo/win_version_text.h"
#include "testing/cxx/require.h"

namespace {

void check_text(const char* text) {
    size_t commas = 0;
    for (const char* c = text; *c; ++c)
        commas += *c == ',';
    for (int index = -1; index <= 4; ++index) {
        const CStdString part = sysinfo::product_version_part(text, index);
        require(part.length() <= strlen(text));
        require(part.find(",") == -1 && part.find(" ") == -1);
        require(part.empty() || (index >= 0 && index < 4 && static_cast<size_t>(index) <= commas));
    }
    const CStdString printer = sysinfo::printer_of_entry(text);
    require(strncmp(printer.c_str(), text, printer.length()) == 0);
    require(text[printer.length()] == (commas ? ',' : '\0'));
    for (int level = 0; level < 4; ++level) {
        const int lowered = sysinfo::lower_instruction_set_level(text, level);
        require(lowered >= 0 && lowered <= level);
    }
}

void check_record(const uint8_t* data, size_t size) {
    sysinfo::WinVersion version = {};
    static_assert(__is_trivially_copyable(sysinfo::WinVersion));
    if (size)
        memcpy(&version, data, size < sizeof(version) ? size : sizeof(version));
    version.known = true;
    version.extended = size % 2;
    version.service_pack[128] = '\0';
    version.edition_name[80] = '\0';
    version.edition = static_cast<sysinfo::RegistryEdition>(size % 4);
    const CStdString name = sysinfo::describe_win_version(version, false);
    require(name.length() < 300);
    const CStdString tag = sysinfo::describe_win_version(version, true);
    require(tag.empty() || (tag.length() < 40 && tag.at(tag.length() - 1) != '_' && tag.find(" ") == -1));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CStdString text;
    text.assign(reinterpret_cast<const char*>(data), static_cast<unsigned>(size));
    check_text(text.c_str());
    check_record(data, size);
    return 0;
}
