// Drives the HTTP transport: one command a line on standard input, one answer a line on standard output.
//
//   new                     a fresh transport instead of the one before
//   headers TEXT            SetHeaders
//   post URL FILE           a POST of the file's bytes, with their number as its length
//   text URL TEXT           a POST of the text, without a length
//   get URL                 a GET
//   nothing post|get        a request without a URL
//   drop                    no transport from here on, until "new"
//   calls                   WinINet's opening calls since the last time, with their arguments
//   refuse SIZE N           from here on blocks of more than SIZE bytes are refused, and once the Nth of all; 0 is none
//   held                    the blocks and WinINet handles that are held, and the handles of the whole process
//
// A request answers "answer HEX" or "null ERROR", and how long it took in milliseconds.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "net/http_transport.h"
#include "net/super_buffer.h"
#include "testing/cxx/command_line.h"
#include "testing/cxx/usage.h"
#include "tests/upload/counted_calls.h"

namespace {

CHttpTransport* transport;

void show(const char* answer, DWORD start) {
    const DWORD took = GetTickCount() - start;
    if (!answer) {
        printf("null %lu %lu\n", transport->LastError(), took);
        return;
    }
    printf("answer ");
    for (; *answer; ++answer)
        printf("%02x", static_cast<unsigned char>(*answer));
    printf(" %lu\n", took);
}

void post_file(const char* url, const char* path) {
    CSuperBuffer body;
    body.AppendFile(path);
    const DWORD start = GetTickCount();
    show(transport->Request(url, true, body.GetData(), body.GetLength()), start);
}

void show_held() {
    printf("held %d %d %u\n", held_counts().blocks, held_counts().handles, process_handles());
}

bool obey(char* line) {
    char* const first = rest_of(line);
    const bool two = strcmp(line, "post") == 0 || strcmp(line, "text") == 0 || strcmp(line, "refuse") == 0;
    char* const second = two ? rest_of(first) : nullptr;
    const DWORD start = GetTickCount();
    if (strcmp(line, "new") == 0) {
        delete transport;
        transport = new CHttpTransport;
        puts("done");
    } else if (strcmp(line, "headers") == 0) {
        transport->SetHeaders(first);
        puts("done");
    } else if (strcmp(line, "post") == 0) {
        post_file(first, second);
    } else if (strcmp(line, "text") == 0) {
        show(transport->Request(first, true, second), start);
    } else if (strcmp(line, "get") == 0) {
        show(transport->Request(first, false, nullptr), start);
    } else if (strcmp(line, "nothing") == 0) {
        show(transport->Request(nullptr, strcmp(first, "post") == 0, "body"), start);
    } else if (strcmp(line, "drop") == 0) {
        delete transport;
        transport = nullptr;
        puts("done");
    } else if (strcmp(line, "calls") == 0) {
        puts(opening_calls());
    } else if (strcmp(line, "refuse") == 0) {
        const unsigned size = strtoul(first, nullptr, 10);
        refuse_blocks(size ? size : ~size_t{0}, atoi(second));
        puts("done");
    } else if (strcmp(line, "held") == 0) {
        show_held();
    } else {
        return false;
    }
    return true;
}

} // namespace

int main() {
    if (!watch_wininet())
        return 1;
    transport = new CHttpTransport;
    const int code = obey_commands(obey);
    delete transport;
    return code;
}
