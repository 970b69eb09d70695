// What an upload would send, for the user to look at: a folder of copies. What lies in it goes; what the user deletes,
// or what couldn't be copied, doesn't.
#pragma once

#include "net/upload_form.h"

namespace report {

// The folder lies in that of temporary files, and goes with the object, but for what others have put into it or hold
// open.
class SentContents {
public:
    // Makes the folder, of the files of these paths.
    explicit SentContents(const char* const (&paths)[upload_form::part_count]);
    ~SentContents();
    SentContents(const SentContents&) = delete;
    SentContents& operator=(const SentContents&) = delete;

    // Opens the folder in the shell; whether that has worked.
    bool Open() const;

    // Its path; empty where it couldn't be made.
    const char* Folder() const { return m_folder; }

    // Puts the paths of the copies in the place of those of the files, and empties the names of parts that don't go.
    void Replace(const char* (&names)[upload_form::part_count], const char* (&paths)[upload_form::part_count]) const;

private:
    static constexpr int kMostPath = 1024; // as many as wsprintf may write

    char m_folder[kMostPath];
    char m_copies[upload_form::part_count][kMostPath]; // empty where there is none
};

} // namespace report
