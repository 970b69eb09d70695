// The name of a Windows version, from its version record. Pure.
#pragma once

#include <stdint.h>

#include "base/std_string.h"

namespace sysinfo {

// What the registry said of an NT that gave no extended record.
enum class RegistryEdition : uint8_t {
    not_asked,
    key_missing,
    value_missing, // or too long
    read,
};

// The record that Windows gives of itself. All zero is a valid record of no known platform.
struct WinVersion {
    static constexpr uint32_t kPlatform9x = 1;
    static constexpr uint32_t kPlatformNt = 2;

    bool known;    // false: no record could be had, and nothing below counts
    bool extended; // whether the fields of the extended record are there
    uint32_t platform;
    uint32_t major;
    uint32_t minor;
    uint32_t build;              // only the low 16 bits are the build
    char service_pack[129];      // NUL-terminated text, as "Service Pack 2"
    uint16_t service_pack_major; // extended, else 0
    uint16_t suite_mask;         // extended
    uint8_t product_type;        // extended: 1 workstation, 2 domain controller, 3 server
    RegistryEdition edition;     // instead of the extended fields, on NT
    char edition_name[81];       // NUL-terminated "ProductType", when the edition was read
};

// The long form, as "Microsoft Windows XP Professional Service Pack 2 (Build 2600)\n", or the tag, as
// "WinXP_Prof_SP2". Versions newer than the names known here give the edition and the build alone. The newline is part
// of the long form on NT only; the texts that begin with "Unknown" or "Unk" have none either.
CStdString describe_win_version(const WinVersion& version, bool tag);

} // namespace sysinfo
