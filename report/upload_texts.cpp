// Bytes as escapes, so that neither editor nor compiler converts them; the comments translate.
#include "report/report_texts.h"

#include <stdio.h>

namespace report {

// "Uploading the crash report may take some time. Please wait. / When the upload is done the program will be closed
// automatically."
const char kUploadWaitText[] =
    "Upload \xEE\xF2\xF7\xB8\xF2\xE0 \xEE crash'e \xEC\xEE\xE6\xE5\xF2 \xE7\xE0\xED\xFF\xF2\xFC "
    "\xED\xE5\xEA\xEE\xF2\xEE\xF0\xEE\xE5 \xE2\xF0\xE5\xEC\xFF. \xCF\xEE\xE6\xE0\xEB\xF3\xE9\xF1\xF2\xE0 "
    "\xEF\xEE\xE4\xEE\xE6\xE4\xE8\xF2\xE5.\n\n"
    "\xCF\xEE\xF1\xEB\xE5 \xEE\xEA\xEE\xED\xF7\xE0\xED\xE8\xFF \xEE\xEF\xE5\xF0\xE0\xF6\xE8\xE8 "
    "\xE7\xE0\xE3\xF0\xF3\xE7\xEA\xE8 \xEF\xF0\xEE\xE3\xF0\xE0\xEC\xEC\xE0 \xE1\xF3\xE4\xE5\xF2 "
    "\xE0\xE2\xF2\xEE\xEC\xE0\xF2\xE8\xF7\xE5\xF1\xEA\xE8 \xE7\xE0\xEA\xF0\xFB\xF2\xE0.";

// "Data transfer error. / Please connect to the Internet and allow the program ksv.exe to access the network to reach
// the server of the company Torvex."
#define FAILURE_TEXT(program, company)                                                                                 \
    "\xCE\xF8\xE8\xE1\xEA\xE0 \xEF\xE5\xF0\xE5\xE4\xE0\xF7\xE8 \xE4\xE0\xED\xED\xFB\xF5.\n\n"                          \
    "\xCF\xEE\xE6\xE0\xEB\xF3\xE9\xF1\xF2\xE0 \xEF\xEE\xE4\xEA\xEB\xFE\xF7\xE8\xF2\xE5\xF1\xFC \xEA "                  \
    "\xF1\xE5\xF2\xE8 Internet \xE8 \xF0\xE0\xE7\xF0\xE5\xF8\xE8\xF2\xE5 "                                             \
    "\xEF\xF0\xEE\xE3\xF0\xE0\xEC\xEC\xE5 " program " \xE2\xFB\xF5\xEE\xE4 \xE2 \xF1\xE5\xF2\xFC \xE4\xEB\xFF "        \
    "\xF1\xEE\xE5\xE4\xE8\xED\xE5\xED\xE8\xFF \xF1 \xF1\xE5\xF0\xE2\xE5\xF0\xEE\xEC "                                  \
    "\xEA\xEE\xEC\xEF\xE0\xED\xE8\xE8 " company "."

const char kUploadFailureText[] = FAILURE_TEXT("ksv.exe", "Torvex");

namespace {

constexpr unsigned kLongestName = 63;

// An ampersand is doubled, as a dialog's texts have it.
void copy_name(char (&to)[2 * kLongestName + 1], const char* name) {
    char* end = to;
    for (unsigned left = kLongestName; *name && left; --left) {
        if (*name == '&')
            *end++ = '&';
        *end++ = *name++;
    }
    *end = 0;
}

} // namespace

// Needs no memory: there may be none, which is why the upload has failed.
void upload_failure_text(char (&text)[kUploadFailureSize], const Names& names) {
    char program[2 * kLongestName + 1], company[2 * kLongestName + 1];
    copy_name(program, names.program);
    copy_name(company, names.company);
    sprintf(text, FAILURE_TEXT("%s", "%s"), program, company);
}

const char kUploadSuccessText[] = "Thank you.\n\nData has uploaded successfully";

} // namespace report
