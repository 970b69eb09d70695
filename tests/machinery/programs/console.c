/* console COMMAND ARGS...: does what the tests of the runner need of a console program. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>
#include <shellapi.h>

static void Start(char* program, const char* command, DWORD flags) {
    char line[600];
    STARTUPINFOA with = {0};
    PROCESS_INFORMATION started;
    with.cb = sizeof with;
    snprintf(line, sizeof line, "\"%s\" %s", program, command);
    CreateProcessA(NULL, line, NULL, NULL, FALSE, flags, NULL, NULL, &with, &started);
}

static __declspec(noinline) void HangHere(void) {
    Sleep(INFINITE);
}

int main(int argc, char** argv) {
    const char* command = argc > 1 ? argv[1] : "";
    if (strcmp(command, "echo") == 0) { /* ARGS: one on a line, then standard input; code 42 */
        for (int i = 2; i < argc; ++i) {
            printf("%s\n", argv[i]);
        }
        for (int c = getchar(); c != EOF; c = getchar()) {
            putchar(c);
        }
        fprintf(stderr, "an error");
        return 42;
    }
    if (strcmp(command, "where") == 0) { /* code page, temporary and current directory */
        char text[MAX_PATH];
        printf("%u\n", GetACP());
        GetTempPathA(sizeof text, text);
        printf("%s\n", text);
        GetCurrentDirectoryA(sizeof text, text);
        printf("%s\n", text);
        return 0;
    }
    if (strcmp(command, "desktop") == 0) {
        return GetDesktopWindow() == NULL;
    }
    if (strncmp(command, "hang", 4) == 0) {
        if (strcmp(command, "hang-with-child") == 0) { /* the child in a console, and so in a session, of its own */
            Start(argv[0], "hang", CREATE_NEW_CONSOLE);
        }
        printf("about to hang\n");
        fflush(stdout);
        HangHere();
    }
    if (strcmp(command, "leave-child") == 0) { /* ends at once; the child writes ARG later */
        char line[600];
        snprintf(line, sizeof line, "write-later \"%s\"", argv[2]);
        Start(argv[0], line, 0);
        return 0;
    }
    if (strcmp(command, "write-later") == 0) {
        Sleep(1500);
        return fclose(fopen(argv[2], "w"));
    }
    if (strcmp(command, "open") == 0) { /* ARG, with the program for its kind of file */
        return (INT_PTR)ShellExecuteA(NULL, "open", argv[2], NULL, NULL, SW_SHOW) > 32 ? 0 : 1;
    }
    if (strcmp(command, "record") == 0) { /* into the file ARG: the other arguments */
        FILE* file = fopen(argv[2], "w");
        for (int i = 3; i < argc; ++i) {
            fprintf(file, "%s\n", argv[i]);
        }
        return fclose(file);
    }
    return 1;
}
