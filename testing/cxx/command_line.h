// Commands that a test gives to a host, one a line on standard input.
#pragma once

#include <stdio.h>
#include <string.h>

// Reads the next line into a buffer of its own; null at the end of the input.
inline char* next_command() {
    static char line[16384];
    if (!fgets(line, sizeof line, stdin))
        return nullptr;
    line[strcspn(line, "\r\n")] = 0;
    return line;
}

// Obeys each line until the input ends and returns 0, or 2 after saying which one `obey` answered with false. What was
// printed goes out after each.
inline int obey_commands(bool (*obey)(char* line)) {
    while (char* const line = next_command()) {
        const bool obeyed = obey(line);
        fflush(stdout);
        if (!obeyed) {
            fprintf(stderr, "can't do this: %s\n", line);
            return 2;
        }
    }
    return 0;
}

// Cuts the text at the separator and returns what followed it, empty if there is none.
inline char* rest_of(char* text, char separator = ' ') {
    char* const found = strchr(text, separator);
    if (!found)
        return text + strlen(text);
    *found = 0;
    return found + 1;
}
