// The application whose version the system information names.
#pragma once

struct HostApplication {
    const char* name = "Lumivale";
    const char* file = "Lumivale.exe"; // under which it is registered; at most 63 characters
};
