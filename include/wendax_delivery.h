/** @file wendax_delivery.h
 * How uploads go out, where the host wants more than one try without a word: what is kept and sent later, what the
 * upload dialog shows meanwhile. Part of wendax.h. Everything here is off until it is called for.
 */
#ifndef WENDAX_DELIVERY_H
#define WENDAX_DELIVERY_H

#include <stddef.h>

#ifdef WENDAX_LIBRARY
#define WENDAX_DELIVERY_IMPORT
#else
#define WENDAX_DELIVERY_IMPORT __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** What became of the reports that lay in the folder of WendaxKeepUnsent(). */
typedef struct WendaxUnsent {
    int sent;      /**< confirmed by the server, and deleted */
    int remaining; /**< kept for the next time; those among them that a dialog of another process still shows */
    int damaged;   /**< files that are damaged or no reports: left alone */
} WendaxUnsent;

/** Names the folder in which uploads are kept that the user has asked for and that failed, for WendaxSendUnsent().
 *
 * From the upload's beginning to the server's confirmation the report lies there as one file, so that it outlasts the
 * end of the program, too. At most 10 reports, of 256 MB, for 30 days: the oldest go first, the newest never. What the
 * user has stopped isn't kept.
 * @param folder  made when it is needed, if only it is missing; have one of the program's and the user's own. At most
 * 511 characters as a full path. Null or "" for none, as it is at first
 * @return 1, or 0 if the path is no path or too long: then nothing is kept */
WENDAX_DELIVERY_IMPORT int __cdecl WendaxKeepUnsent(const wchar_t* folder);

/** Sends what lies in the folder, each report to where it was to go, without asking: the user has said yes before. For
 * the program's start, on a thread of its own.
 *
 * Blocks for as long as it takes. Deletes what is confirmed. May run on any thread, also while a report is made, and be
 * ended with the process at any moment: a report whose confirmation was arriving then may go twice, no other.
 * @param result  what became of them; zeros where it was not begun; may be null
 * @return 1, or 0 where it was not begun: no folder is named, it takes no files, memory is gone, or another call is at
 *         work in it, of this or another process */
WENDAX_DELIVERY_IMPORT int __cdecl WendaxSendUnsent(WendaxUnsent* result);

/** Says whether the upload dialog shows how far an upload is, and lets the user stop it: "Close" does then. Otherwise
 * it takes no clicks until the upload has come to its end.
 *
 * @param flag  0: no, as it is at first; any other: yes
 * @return the flag */
WENDAX_DELIVERY_IMPORT int __cdecl WendaxShowProgress(int flag);

/** Says whether the upload dialog has a button "What is sent" under its text: it opens a folder with copies of exactly
 * the files that would go. From then on these copies are what goes, as they are when the upload begins: one that the
 * user deletes doesn't, nor does its path. The folder lies in the user's folder of temporary files, and goes with the
 * dialog.
 *
 * @param flag  0: no, as it is at first; any other: yes
 * @return the flag */
WENDAX_DELIVERY_IMPORT int __cdecl WendaxShowContents(int flag);

#ifdef __cplusplus
} /* extern "C" */
#endif

#undef WENDAX_DELIVERY_IMPORT

#endif /* WENDAX_DELIVERY_H */
