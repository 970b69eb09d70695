// What the hosts here report: with a screenshot, and with the file notes.txt of the current folder.
#pragma once

#include <windows.h>

#include "include/wendax.h"

// For the e-mail road, once.
inline void attach_notes_and_screenshot() {
    SetCreateScreenCopy(1);
    char notes[MAX_PATH];
    GetFullPathNameA("notes.txt", sizeof notes, notes, nullptr);
    SetAttachment(notes);
}

// The upload road. Returns what its dialog answered.
inline unsigned upload_notes_and_screenshot() {
    CCrashReport2 report(nullptr);
    report.PostRequest("notes.txt", nullptr, nullptr, nullptr);
    report.CreateScreenCopy();
    report.CreateSystemInfo();
    return report.OpenDlg();
}
