// Calls every operation of both streams by its slot, and prints what each answers. The file of one is left at `path`.
#pragma once

// Returns the program's exit code.
int stream_slots(const char* path);
