/** @file faultkit.h
 * faultkit.dll: describes a fault in words, for a report that a developer reads far away from where it happened.
 *
 * Put beside the host's executable, it is found and called by the crash-report library; a host can load and call it
 * too. Every function may be called in a process that has just faulted, on the faulting thread or another one, while
 * the exception pointers are valid: in an exception filter, or inside the catch block that follows a translated
 * exception. None of them throws, and none faults: a fault that one meets itself is swallowed, and its text says so.
 * One runs at a time: a second thread waits for the first, at most some seconds, and is then given a text that says so.
 *
 * Returned texts are in the ANSI code page, belong to the library and stay as they are until the next call. Their lines
 * end in a line feed, the last one has no end. docs/fault-description.md shows them and says how to find source lines
 * afterwards. */
#ifndef WENDAX_FAULTKIT_H
#define WENDAX_FAULTKIT_H

/** What a line of the stack trace holds: any sum of these. A line with neither module nor address gets the address. */
enum FaultkitOptions {
    FAULTKIT_MODULE = 1,   /**< module and offset in it: "host.exe+00001234". The offset is from the module's base */
    FAULTKIT_FUNCTION = 2, /**< function and displacement in it, where symbols are at hand: "Widget::draw+0x1A" */
    FAULTKIT_LINE = 4,     /**< source file and line, where symbols are at hand: "(src\widget.cpp:42)" */
    FAULTKIT_ADDRESS = 8   /**< address in this run of the process, first of all: "00401234" */
};

/** The key of a value by which a host allows what may be private: set to "1", the reason holds the program's path, its
 * command line and the current folder too. It isn't listed itself. */
#define FAULTKIT_PRIVATE "faultkit.private"

#ifdef _WIN32 /* the bits above are for portable code, too */

struct _EXCEPTION_POINTERS;

#ifdef __cplusplus
extern "C" {
#endif

/** Names the fault: exception, access and address, instruction, registers; its signature; time, program and machine;
 * the host's values and notes; and the modules of the process with the identity of their PDBs. At most 12 KB. Never
 * null. */
const char* __cdecl GetFaultReason(struct _EXCEPTION_POINTERS* pointers);

/** The first line of the stack trace, the faulting instruction; null when there is none. Walks the whole stack and
 * keeps what it finds until the next call of this function. Behind GetFaultReason, on its thread with its pointers, it
 * takes hardly any time: that call reads the symbols for both. */
const char* __cdecl GetFirstStackTraceString(unsigned int options, struct _EXCEPTION_POINTERS* pointers);

/** The next line of the trace that this thread began; null at its end, and when the pointers are not those it was begun
 * with. A trace has a bounded number of lines and altogether at most 14 KB, 15 with 64 bits. */
const char* __cdecl GetNextStackTraceString(unsigned int options, struct _EXCEPTION_POINTERS* pointers);

/** Writes a minidump of the process, which a debugger opens, to the file `path` (ANSI), replacing what is there. Null
 * pointers write one without a fault. Returns 1, or 0 with no file left behind; then GetLastError() tells why:
 * ERROR_INVALID_PARAMETER for a null or empty path, ERROR_PROC_NOT_FOUND without dbghelp.dll, ERROR_BUSY while another
 * thread is in here, ERROR_TIMEOUT when it took over a minute on a stack that was used up, ERROR_NOACCESS for a fault
 * on the way, or what the system said. */
int __cdecl WriteFaultDump(const char* path, struct _EXCEPTION_POINTERS* pointers);

/** Sets a value that stands in the reason as "Value build = nightly-412"; a null or empty text takes it out again. key:
 * 1 to 31 letters, digits, spaces, '.', '-' or '_'. Of the text at most 127 bytes are kept, and control characters are
 * shown as '?'. Values are forgotten when the library is unloaded: a host that sets some keeps it loaded. Any thread,
 * at any time, without allocating. Returns 1, or 0 with GetLastError(): ERROR_INVALID_PARAMETER for such a key,
 * ERROR_NOACCESS for a pointer that can't be read, ERROR_NOT_ENOUGH_MEMORY when there are 32 other keys (one that was
 * taken out counts) or a thread was stopped in here. */
int __cdecl SetFaultValue(const char* key, const char* text);

/** Adds a note, with time and thread: "Note 09:24:10.001 000000E0: opening a.bmp". text: finished, at most 200 bytes of
 * it are kept. The last 64 stand in the reason, of which the older ones give way where they take more than 2 KB. As
 * SetFaultValue otherwise; takes about as long as writing the text to memory. Returns 1, or 0 with GetLastError():
 * ERROR_INVALID_PARAMETER for null, ERROR_NOACCESS, ERROR_BUSY when a thread was stopped in here. */
int __cdecl AddFaultNote(const char* text);

/** Writes reason and stacks in full to the file `path` (ANSI), replacing what is there: what a message holds of them,
 * without its bounds, with the whole stacks of all threads. Returns 1, or 0 with no file left behind; then
 * GetLastError() tells why: ERROR_INVALID_PARAMETER for a null or empty path or pointers that can't be read, ERROR_BUSY
 * while another thread is in here, ERROR_TIMEOUT when it took over a minute on a stack that was used up, ERROR_NOACCESS
 * for a fault on the way, or what the system said. On a stack that is used up it needs 8 KB that are left. */
int __cdecl WriteFaultText(const char* path, struct _EXCEPTION_POINTERS* pointers);

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */

#endif
