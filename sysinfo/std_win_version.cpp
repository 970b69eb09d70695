#include "sysinfo/std_win_version.h"

#include <string.h>

#include "win/handle.h"

namespace sysinfo {

namespace {

constexpr DWORD kExtendedSize = 156;
constexpr DWORD kPlainSize = 148;
static_assert(sizeof(OSVERSIONINFOEXA) == kExtendedSize && sizeof(OSVERSIONINFOA) == kPlainSize);

} // namespace

WinVersion read_win_version(decltype(GetVersionExA)* get_version, HKEY root) {
    WinVersion version = {};
    OSVERSIONINFOEXA record = {};
    OSVERSIONINFOA* const plain = reinterpret_cast<OSVERSIONINFOA*>(&record);
    record.dwOSVersionInfoSize = kExtendedSize;
    version.extended = get_version(plain);
    version.known = version.extended;
    if (!version.extended) {
        record.dwOSVersionInfoSize = kPlainSize;
        version.known = get_version(plain);
    }

    version.platform = record.dwPlatformId;
    version.major = record.dwMajorVersion;
    version.minor = record.dwMinorVersion;
    version.build = record.dwBuildNumber;
    memcpy(version.service_pack, record.szCSDVersion, sizeof(record.szCSDVersion));
    version.service_pack_major = record.wServicePackMajor;
    version.suite_mask = record.wSuiteMask;
    version.product_type = record.wProductType;

    if (version.known && !version.extended && version.platform == WinVersion::platform_nt)
        read_registry_edition(root, version);
    return version;
}

void read_registry_edition(HKEY root, WinVersion& version) {
    win::RegistryKey key;
    if (RegOpenKeyExA(root, "SYSTEM\\CurrentControlSet\\Control\\ProductOptions", 0, KEY_QUERY_VALUE, key.put()) !=
        ERROR_SUCCESS) {
        version.edition = RegistryEdition::key_missing;
        return;
    }
    constexpr DWORD limit = sizeof(version.edition_name) - 1;
    DWORD size = limit;
    const LSTATUS status = RegQueryValueExA(key.get(), "ProductType", nullptr, nullptr,
                                            reinterpret_cast<BYTE*>(version.edition_name), &size);
    if (status != ERROR_SUCCESS || size > limit) {
        version.edition = RegistryEdition::value_missing;
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
