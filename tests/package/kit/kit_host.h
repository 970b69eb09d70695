/* What the hosts have in common: one call covers them. Their reports are messages, or uploads on demand. */
#ifndef KIT_HOST_H
#define KIT_HOST_H

#include <windows.h>

#include "wendax.h"

#ifdef __cplusplus
extern "C"
#endif
    __declspec(dllimport) void __cdecl upload_fault(EXCEPTION_POINTERS* pointers, void* context);

static void cover(int uploads) {
    WendaxCover();
    if (uploads)
        WendaxCoverProcess(upload_fault, 0);
}

#endif
