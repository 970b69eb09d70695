// bench_upload_body [ROUNDS]: builds the body of an upload from six files, at three sizes, beside reading the same
// files plainly. Makes its files in the current folder and removes them.
#include <stdio.h>
#include <stdlib.h>

#include "bench/measure.h"
#include "net/upload_form.h"

namespace {

const char* const kFiles[upload_form::part_count] = {"bench.1", "bench.2", "bench.3", "bench.4", "bench.5", "bench.6"};

size_t size; // of each file
bool done = true;

bool write_files() {
    char* const bytes = static_cast<char*>(malloc(size));
    if (!bytes)
        return false;
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 2654435761u >> 13);
    bool written = true;
    for (const char* name : kFiles) {
        FILE* const file = fopen(name, "wb");
        written = file && fwrite(bytes, 1, size, file) == size && written;
        written = file && fclose(file) == 0 && written;
    }
    free(bytes);
    return written;
}

// Everything in one piece for each file, and no more than that.
void read_plainly() {
    size_t total = 0;
    for (const char* name : kFiles) {
        FILE* const file = fopen(name, "rb");
        char* const bytes = static_cast<char*>(malloc(size));
        if (file && bytes)
            total += fread(bytes, 1, size, file);
        free(bytes);
        if (file)
            fclose(file);
    }
    done = done && total == 6 * size;
}

void build_body() {
    CSuperBuffer body;
    upload_form::append_body(body, kFiles);
    done = done && body.GetLength() > 6 * size;
}

} // namespace

int main(int argc, char** argv) {
    const unsigned rounds = bench::rounds_of(argc, argv);
    constexpr bench::Contestant kContestants[] = {{"ours", build_body}, {"reading plainly", read_plainly}};
    constexpr size_t kSizes[] = {80, 800, 8000};
    for (const size_t kibibytes : kSizes) {
        size = kibibytes * 1024;
        done = done && write_files();
        if (done)
            bench::compare("upload body", 6.0 * static_cast<double>(size), kContestants, 2, rounds, 1);
    }
    for (const char* name : kFiles)
        remove(name);
    if (!done)
        fprintf(stderr, "the files can't be written or read here\n");
    return done ? 0 : 1;
}
