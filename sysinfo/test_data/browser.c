/* A library that tells its version as a browser's does: what the environment variable TEST_BROWSER says. */
#include <windows.h>
#include <shlwapi.h>

#include <stdlib.h>
#include <string.h>

__declspec(dllexport) HRESULT WINAPI DllGetVersion(DLLVERSIONINFO* version) {
    char mode[16] = "";
    const DLLVERSIONINFO expected = {20, 0, 0, 0, 0};
    GetEnvironmentVariableA("TEST_BROWSER", mode, sizeof(mode));
    if (memcmp(version, &expected, sizeof(expected)) != 0)
        return E_INVALIDARG;
    version->dwMajorVersion = 6;
    version->dwMinorVersion = 0;
    version->dwBuildNumber = 2900;
    version->dwPlatformID = 77;
    if (strcmp(mode, "fails") == 0)
        return E_FAIL;
    if (strcmp(mode, "large") == 0)
        version->dwBuildNumber = 0xFFFFFFFF;
    return strcmp(mode, "false") == 0 ? S_FALSE : S_OK;
}
