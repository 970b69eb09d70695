// A folder of reports whose upload has failed: one file for each, as net/unsent_format.h has it, until the server
// confirms it or it is dropped. Several processes may work in one folder.
//
// Folders are full paths of at most kMostFolder characters; they are made where only they themselves are missing.
#pragma once

#include "net/destination.h"
#include "win/handle.h"

namespace unsent {

constexpr unsigned kMostFolder = 512; // with the NUL

// The file of one report. While the object lives no other process sends it.
class KeptReport {
public:
    KeptReport() = default;
    ~KeptReport() { m_file.reset(); }
    KeptReport(const KeptReport&) = delete;
    KeptReport& operator=(const KeptReport&) = delete;

    // Writes the report; whether it lies on the disk whole. The one that this object kept before is then dropped; it
    // stays where this fails.
    bool Keep(const wchar_t* folder, const Destination& to, const void* body, unsigned length);
    // Deletes what is kept, if anything is.
    void Drop();
    // Drops the oldest of the folder's other reports, as Limits says of them and this one.
    void DropOlder(const wchar_t* folder);

private:
    wchar_t m_path[kMostFolder + 32];
    win::FileHandle m_file;
};

struct Counts {
    int sent;      // confirmed and deleted
    int remaining; // not confirmed, or held by a process whose upload it is
    int damaged;   // of another maker or damaged, and left alone
};

// Sends what is there, the oldest first, and deletes what the server confirms. False if it isn't begun, because another
// call is at work in that folder or the folder refuses files; true also where there is no such folder. Blocks for as
// long as it takes. Throws gen::genlib_out_of_memory.
bool send_all(const wchar_t* folder, const char* agent, Counts& counts);

} // namespace unsent
