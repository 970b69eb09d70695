// A folder of reports whose upload has failed: one file for each, as net/unsent_format.h has it, until the server
// confirms it or it is dropped. Several processes may work in one folder.
//
// Folders are full paths of at most kMostFolder characters; they are made where only they themselves are missing.
#pragma once

#include "net/upload.h"

#include <windows.h>

namespace unsent {

constexpr unsigned kMostFolder = 512; // with the NUL

// The file of one report. While the object has it no other process sends it. Made of zeros; has no destructor, so that
// it may be a static object: LetGo() ends it.
class KeptReport {
public:
    // Writes the report; whether it lies on the disk whole. The one that this object kept before is then dropped; it
    // stays where this fails.
    bool Keep(const wchar_t* folder, const Destination& to, const void* body, unsigned length);
    // Deletes what is kept, if anything is.
    void Drop();
    // Leaves it to others.
    void LetGo() noexcept;
    // Drops the oldest of the folder's other reports, as Limits says of them and this one.
    void DropOlder(const wchar_t* folder);

private:
    HANDLE m_file; // null where nothing is kept
    wchar_t m_path[kMostFolder + 48];
};

enum Outcome {
    kSent,    // confirmed, and then deleted
    kRemains, // not confirmed, or held by a process whose upload it is
    kDamaged, // or of another maker: left alone
    kOutcomes
};

// Sends a body and says whether it was confirmed; kDamaged where the URL is none. Throws nothing.
using Sender = Outcome (*)(const char* url, bool proxy_allowed, const char* body, unsigned length);

// Sends what is there, the oldest first, and deletes what the server confirms. Counts what came of each, from zeros on.
// False if it isn't begun, because another call is at work in that folder or the folder refuses files; true also where
// there is no such folder. Blocks for as long as it takes.
bool send_all(const wchar_t* folder, Sender sender, int (&counts)[kOutcomes]);

} // namespace unsent
