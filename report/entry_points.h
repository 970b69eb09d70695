// The functions that a host calls by name; the translator is in translator.h. None is guarded against calls from
// several threads at once, except that InitCrushReport may be called on each thread.
#pragma once

#include <eh.h>

extern "C" {

// Covers the calling thread: its structured exceptions are translated from now on. Returns the translator before.
_se_translator_function __cdecl InitCrushReport();

// Makes the e-mail report: of the last fault when the text is the translator's marker, without fault details for any
// other text and for null. Called inside the catch block, on whose stack the fault's record still lies. Blocks until
// the user has answered and the message was handed to the shell. Only exceptions of the host's own kind leave it: a
// fault in here is translated like any other.
void __cdecl OpenCrushReport(const char* marker);

// The one file of the host's for every later report, in the place of the one before; at most 1023 bytes, null or "" for
// none. Returns the buffer that keeps the path.
char* __cdecl SetAttachment(const char* path);

// Nonzero: every later report has a picture of the screen. Returns the flag.
int __cdecl SetCreateScreenCopy(int flag);
}
