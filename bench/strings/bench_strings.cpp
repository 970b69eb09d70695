// bench_strings [ROUNDS]: texts built as the reports build theirs. The same source builds with this library's string
// and, with WENDAX_BENCH_STD, with std::string.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "bench/measure.h"
#ifdef WENDAX_BENCH_STD
#include <string>
using Text = std::string;
#define NAME "std::string"
#else
#include "base/std_string.h"
using Text = CStdString;
#define NAME "ours"
#endif

namespace {

unsigned lines;
volatile unsigned keep; // of each result, so that nothing is left out
Text template_text;

void replace_all(Text& text, const char* pattern, const char* replacement) {
#ifdef WENDAX_BENCH_STD
    const size_t found = strlen(pattern), put = strlen(replacement);
    for (size_t at = text.find(pattern); at != std::string::npos; at = text.find(pattern, at + put))
        text.replace(at, found, replacement, put);
#else
    text.replace_all(pattern, replacement);
#endif
}

void append_lines(Text& text) {
    for (unsigned i = 0; i < lines; ++i) {
        text += "Processor feature";
        text += ": ";
        text += i % 2 ? "present" : "not present on this machine";
        text += '\n';
    }
}

// A line of four pieces, and it to the text.
void append() {
    Text text;
    append_lines(text);
    keep = static_cast<unsigned>(text.length());
}

// The same with the capacity for it reserved first.
void append_with_capacity() {
    Text text;
#ifdef WENDAX_BENCH_STD
    text.reserve(lines * 48);
#else
    text.grow(lines * 48);
#endif
    append_lines(text);
    keep = static_cast<unsigned>(text.length());
}

// Short texts from sums, as the probes make them.
void sums() {
    const Text name("Windows version"), value("6.1.7601 Service Pack 1");
    unsigned total = 0;
    for (unsigned i = 0; i < lines; ++i) {
        const Text line = name + ": " + value + '\n';
        total += static_cast<unsigned>(line.length());
    }
    keep = total;
}

// Paths taken apart.
void pieces() {
    const Text path("C:\\Program Files\\Some Maker\\A Program\\program.exe");
    unsigned total = 0;
    for (unsigned i = 0; i < lines; ++i) {
#ifdef WENDAX_BENCH_STD
        const Text folder = path.substr(0, path.rfind('\\'));
        const Text file = path.substr(path.rfind('\\') + 1);
#else
        const Text folder = path.left(path.rfind('\\'));
        const Text file = path.substr(static_cast<unsigned>(path.rfind('\\')) + 1);
#endif
        total += static_cast<unsigned>(folder.length() + file.length());
    }
    keep = total;
}

// A template filled: a placeholder in every line, its value longer than it.
void replace() {
    Text text(template_text);
    replace_all(text, "<%value%>", "a value of thirty characters..");
    keep = static_cast<unsigned>(text.length());
}

void make_template() {
    template_text = Text();
    for (unsigned i = 0; i < lines; ++i)
        template_text += "A line of the template with <%value%> in it.\n";
}

void measure(const char* row, void (*run)(), unsigned rounds) {
    const bench::Contestant one = {NAME, run};
    bench::compare(row, lines, &one, 1, rounds, 4000 / lines);
}

} // namespace

int main(int argc, char** argv) {
    const unsigned rounds = bench::rounds_of(argc, argv);
    for (lines = 20; lines <= 2000; lines *= 10) {
        make_template();
        measure("text: append", append, rounds);
        measure("text: append, capacity reserved", append_with_capacity, rounds);
        measure("text: sums", sums, rounds);
        measure("text: pieces of paths", pieces, rounds);
        measure("text: replace all", replace, rounds);
    }
    return 0;
}
