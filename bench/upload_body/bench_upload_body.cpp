// bench_upload_body [ROUNDS [FILE]]: builds the body of an upload from six files, at three sizes, and prints a table
// beside reading the same files plainly; FILE receives the figures as lines of comma-separated values. Both take turns
// in every round; the times are medians. Makes its files in the current folder and removes them.
#include <stdio.h>
#include <stdlib.h>

#include "bench/resample/measure.h"
#include "net/upload_form.h"

namespace {

constexpr unsigned kMostRounds = 1001;

const char* const kFiles[upload_form::part_count] = {"bench.1", "bench.2", "bench.3", "bench.4", "bench.5", "bench.6"};

bool write_files(size_t size) {
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
size_t read_plainly(size_t size) {
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
    return total;
}

size_t build_body() {
    CSuperBuffer body;
    upload_form::append_body(body, kFiles);
    return body.GetLength();
}

bool run(size_t size, unsigned rounds, FILE* table) {
    static double plain[kMostRounds];
    static double body[kMostRounds];
    if (!write_files(size)) {
        fprintf(stderr, "the files can't be written here\n");
        return false;
    }
    for (unsigned round = 0; round < rounds; ++round) {
        double start = bench::now();
        const size_t read = read_plainly(size);
        plain[round] = bench::now() - start;
        start = bench::now();
        const size_t built = build_body();
        body[round] = bench::now() - start;
        if (read != 6 * size || built < read) {
            fprintf(stderr, "%lu bytes were read, a body has %lu\n", static_cast<unsigned long>(read),
                    static_cast<unsigned long>(built));
            return false;
        }
    }
    const double ours = bench::median(body, rounds);
    const double peer = bench::median(plain, rounds);
    printf("6 x %7lu KiB %10.3f ms %10.3f ms %8.2f\n", static_cast<unsigned long>(size / 1024), ours, peer,
           ours / peer);
    if (table)
        fprintf(table, "%lu,%.4f,%.4f\n", static_cast<unsigned long>(size), ours, peer);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const unsigned rounds = argc > 1 ? static_cast<unsigned>(atoi(argv[1])) : 31;
    if (rounds < 1 || rounds > kMostRounds) {
        fprintf(stderr, "usage: bench_upload_body [ROUNDS [FILE]], up to %u rounds\n", kMostRounds);
        return 2;
    }
    FILE* const table = argc > 2 ? fopen(argv[2], "w") : nullptr;
    printf("%-16s %13s %13s %8s\n", "", "body", "files alone", "ratio");
    bool done = true;
    constexpr size_t sizes[] = {80, 800, 8000};
    for (size_t kibibytes : sizes)
        done = done && run(kibibytes * 1024, rounds, table);
    for (const char* name : kFiles)
        remove(name);
    if (table)
        fclose(table);
    return done ? 0 : 1;
}
