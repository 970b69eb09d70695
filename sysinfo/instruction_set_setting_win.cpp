// The type of the registry value isn't looked at: whatever it holds is read as a text.
#include "sysinfo/instruction_set_setting.h"

#include <windows.h>

#include "base/std_string.h"
#include "win/handle.h"

int GetInstructionSetSetting(HKEY root, int* level) {
    constexpr DWORD kLimit = 1024;
    win::RegistryKey key;
    if (RegOpenKeyA(root, "Software\\Torvex", key.put()) != ERROR_SUCCESS)
        return 0;
    CStdString setting;
    DWORD type = 0;
    DWORD size = kLimit;
    if (RegQueryValueExA(key.get(), "CPU instruction set", nullptr, &type,
                         reinterpret_cast<BYTE*>(setting.get_buffer(kLimit)), &size) != ERROR_SUCCESS)
        return 0;
    setting.release_buffer();
    *level = sysinfo::lower_instruction_set_level(setting.c_str(), *level);
    return 1;
}
