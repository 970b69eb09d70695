// Asks for the extended record first, then for the plain one that every system knows; an NT with only that has its
// edition in the registry.
#include "sysinfo/std_win_version.h"

#include <string.h>

#include "win/guard.h"
#include "win/handle.h"

namespace sysinfo {

namespace {

constexpr DWORD kExtendedSize = 156;
constexpr DWORD kPlainSize = 148;
static_assert(sizeof(OSVERSIONINFOEXA) == kExtendedSize && sizeof(OSVERSIONINFOA) == kPlainSize);

// Whether the record, plain or extended by its size, could be had.
bool read_record(decltype(GetVersionExA)* get_version, OSVERSIONINFOEXA& record, DWORD size) {
    bool known = false;
    record.dwOSVersionInfoSize = size;
    win::run_guarded([&] { known = get_version(reinterpret_cast<OSVERSIONINFOA*>(&record)); });
    return known;
}

} // namespace

WinVersion read_win_version(decltype(GetVersionExA)* get_version, HKEY root) {
    WinVersion version = {};
    OSVERSIONINFOEXA record = {};
    version.extended = read_record(get_version, record, kExtendedSize);
    version.known = version.extended || read_record(get_version, record, kPlainSize);

    version.platform = record.dwPlatformId;
    version.major = record.dwMajorVersion;
    version.minor = record.dwMinorVersion;
    version.build = record.dwBuildNumber;
    memcpy(version.service_pack, record.szCSDVersion, sizeof(record.szCSDVersion));
    version.service_pack_major = record.wServicePackMajor;
    version.suite_mask = record.wSuiteMask;
    version.product_type = record.wProductType;

    if (version.known && !version.extended && version.platform == WinVersion::kPlatformNt)
        win::run_guarded([&] { read_registry_edition(root, version); });
    return version;
}

void read_registry_edition(HKEY root, WinVersion& version) {
    win::RegistryKey key;
    version.edition = RegistryEdition::key_missing;
    if (RegOpenKeyExA(root, "SYSTEM\\CurrentControlSet\\Control\\ProductOptions", 0, KEY_QUERY_VALUE, key.put()) !=
        ERROR_SUCCESS)
        return;
    version.edition = RegistryEdition::value_missing;
    constexpr DWORD kLimit = sizeof(version.edition_name) - 1;
    DWORD size = kLimit;
    const LSTATUS status = RegQueryValueExA(key.get(), "ProductType", nullptr, nullptr,
                                            reinterpret_cast<BYTE*>(version.edition_name), &size);
    if (status != ERROR_SUCCESS || size > kLimit) {
        key.release(); // Kept: the key stays open when it has no value.
        return;
    }
    version.edition_name[size] = '\0';
    version.edition = RegistryEdition::read;
}

} // namespace sysinfo

CStdString CStdWinVersion::GetVersionText(bool tag) {
    return sysinfo::describe_win_version(sysinfo::read_win_version(GetVersionExA, HKEY_LOCAL_MACHINE), tag);
}
