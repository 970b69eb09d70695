// What imaging_host can do. Each prints its facts and gives the program's exit code.
#pragma once

int stream_slots(const char* path);
