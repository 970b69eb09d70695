// The two reports of a real fault, as a host would make them: with a library that it has loaded at run time, so that it
// can load it afresh.
#pragma once

#include <windows.h>

// How a report came back to its host.
enum class Return { plain, out_of_memory, fault, other_exception };

class Library {
public:
    // Loads Wendax.dll and covers this thread; false when it can't.
    bool load();
    // Also frees what the library holds for good.
    void unload();
    HMODULE module() const { return m_module; }

    // Faults and makes the e-mail report of it, with a screenshot and an attached file.
    Return email(const char* attached);
    // Faults and makes the upload report of it, with that file as the host's log. answer: what the dialog said at last.
    Return upload(const char* log, unsigned* answer);

private:
    HMODULE m_module = nullptr;
};
