// The program's own bugs. Some share the function that fails and differ in who called it; some fail in the runtime or
// come through the system; some recurse, as deep as the seed says.
#include "tests/inbox/bugs.h"

#include <windows.h>
#include <stdlib.h>
#include <string.h>

#include "testing/cxx/stack_guard.h"

namespace {

volatile int sink;
volatile int zero = 0;
char* volatile no_text = nullptr;
int* volatile no_numbers = nullptr;

struct Shape {
    int left, top, kind;
    Shape* next;
    virtual int area() { return left * top; }
};
Shape* volatile no_shape = nullptr;

// A shape behind the list's end.
BUGS_NOINLINE int measure(const Shape* shape, unsigned seed) {
    return shape->left + shape->top * static_cast<int>(seed);
}
BUGS_NOINLINE void select_all(unsigned seed) {
    sink = measure(no_shape, seed) + 1;
}
BUGS_NOINLINE void align_left(unsigned seed) {
    sink = measure(no_shape, seed) * 3;
}
BUGS_NOINLINE void group_shapes(unsigned seed) {
    sink = measure(no_shape, seed) - 9;
}

// A division by what isn't there yet.
BUGS_NOINLINE int zoom_factor(unsigned seed) {
    return static_cast<int>(seed + 1000) / zero;
}
BUGS_NOINLINE void zoom_in(unsigned seed) {
    sink = zoom_factor(seed) + 2;
}
BUGS_NOINLINE int rows_per_page(int height, unsigned seed) {
    return (height + static_cast<int>(seed)) % zero;
}
BUGS_NOINLINE void print_preview(unsigned seed) {
    sink = rows_per_page(297, seed);
}

// Texts that are missing, in the runtime's functions.
BUGS_NOINLINE void set_title(unsigned seed) {
    strcpy(no_text, seed % 2 ? "Untitled drawing" : "A drawing with quite a long title of its own");
    sink = 5;
}
BUGS_NOINLINE void set_author(unsigned seed) {
    strcpy(no_text + seed % 64, "Somebody");
    sink = 6;
}
BUGS_NOINLINE void find_font(unsigned seed) {
    sink = static_cast<int>(strlen(no_text + seed % 128)) + 7;
}

// A comparison that the runtime calls back.
int __cdecl compare_layers(const void* a, const void* b) {
    return *no_numbers + *static_cast<const int*>(a) - *static_cast<const int*>(b);
}
BUGS_NOINLINE void sort_layers(unsigned seed) {
    int layers[12];
    for (int i = 0; i < 12; ++i)
        layers[i] = static_cast<int>(seed >> i & 7);
    qsort(layers, 12, sizeof(int), compare_layers);
    sink = layers[3];
}
int __cdecl compare_colors(const void* a, const void* b) {
    return 64 / (zero * *static_cast<const int*>(a)) - *static_cast<const int*>(b);
}
BUGS_NOINLINE void sort_colors(unsigned seed) {
    int colors[9];
    for (int i = 0; i < 9; ++i)
        colors[i] = static_cast<int>(seed * 31u >> i & 255);
    qsort(colors, 9, sizeof(int), compare_colors);
    sink = colors[2];
}
// A callback of the system.
BOOL CALLBACK on_locale(char* name) {
    no_numbers[name[0] & 15] = 1;
    return TRUE;
}
BUGS_NOINLINE void list_languages(unsigned seed) {
    EnumSystemLocalesA(on_locale, seed % 2 ? LCID_INSTALLED : LCID_SUPPORTED);
    sink = 8;
}

// Recursions: an endless one, and one that fails at a depth of its own.
BUGS_NOINLINE int flatten(int depth) {
    volatile char frame[300];
    frame[0] = static_cast<char>(depth);
    return depth < zero ? 0 : flatten(depth + 1) + frame[0];
}
BUGS_NOINLINE void flatten_all(unsigned seed) {
    ULONG guarantee = 64 * 1024;
    SetThreadStackGuarantee(&guarantee);
    guard_stack_reserve();
    sink = flatten(static_cast<int>(seed % 100));
}
BUGS_NOINLINE int parse_group(int depth) {
    if (depth == 0)
        return no_numbers[3];
    return parse_group(depth - 1) * 3 + depth;
}
BUGS_NOINLINE void open_drawing(unsigned seed) {
    sink = parse_group(static_cast<int>(2 + seed % 20));
}
BUGS_NOINLINE int parse_list(int depth);
BUGS_NOINLINE int parse_item(int depth) {
    return depth == 0 ? 100 / zero : parse_list(depth - 1) + 11;
}
BUGS_NOINLINE int parse_list(int depth) {
    return depth == 0 ? parse_item(0) + 1 : parse_item(depth - 1) * 2;
}
BUGS_NOINLINE void import_drawing(unsigned seed) {
    sink = parse_list(static_cast<int>(4 + seed % 24));
}

// Calls that lead nowhere.
void (*volatile on_click)() = nullptr;
BUGS_NOINLINE void press_button(unsigned seed) {
    sink = static_cast<int>(seed);
    on_click();
    sink = sink + 1;
}
BUGS_NOINLINE void draw_area(unsigned seed) {
    sink = no_shape->area() + static_cast<int>(seed);
}
unsigned char pixels[64] = {0xC3};
BUGS_NOINLINE void run_macro(unsigned seed) {
    unsigned char* volatile code = pixels + seed % 32;
    reinterpret_cast<void (*)()>(code)();
    sink = sink + 2;
}

// Pointers gone astray, at addresses that differ.
BUGS_NOINLINE void undo_step(unsigned seed) {
    int* const astray = reinterpret_cast<int*>(0x60000000 + (seed & 0xFFFF) * 4);
    *astray = 12;
    sink = sink + 3;
}
BUGS_NOINLINE int redo_step(unsigned seed) {
    const int* const astray = reinterpret_cast<const int*>(0x5F000000 + (seed & 0xFFF) * 8);
    return *astray * 7;
}
BUGS_NOINLINE void save_settings(unsigned seed) {
    static const int kReadOnly[4] = {1, 2, 3, 4};
    *const_cast<volatile int*>(&kReadOnly[seed % 4]) = 5;
    sink = sink + 4;
}

// What a program raises or runs into by itself.
BUGS_NOINLINE void check_drawing(unsigned seed) {
    const ULONG_PTR parameters[] = {seed};
    RaiseException(0xE0001001, 0, 1, parameters);
    sink = sink + 5;
}
BUGS_NOINLINE void check_colors(unsigned seed) {
    const ULONG_PTR parameters[] = {seed, seed};
    RaiseException(0xE0001001, 0, 2, parameters);
    sink = sink * 3;
}
BUGS_NOINLINE void assert_ready(unsigned seed) {
    sink = static_cast<int>(seed);
    __asm__ volatile("int3");
    sink = sink + 6;
}
BUGS_NOINLINE void fast_path(unsigned seed) {
    sink = static_cast<int>(seed) ^ 1;
    __asm__ volatile("ud2");
    sink = sink + 7;
}

void redo(unsigned seed) {
    sink = redo_step(seed);
}

void (*const kCommits[kHostBugs])(unsigned) = {
    select_all,  align_left,  group_shapes,   zoom_in,       print_preview, set_title,      set_author,   find_font,
    sort_layers, sort_colors, list_languages, flatten_all,   open_drawing,  import_drawing, press_button, draw_area,
    run_macro,   undo_step,   redo,           save_settings, check_drawing, check_colors,   assert_ready, fast_path,
};

} // namespace

void commit_host_bug(int number, unsigned seed) {
#if BUGS_VERSION > 1
    sink = Padding<BUGS_VERSION * 4>::stretch(static_cast<int>(seed));
#endif
    void (*volatile commit)(unsigned) = kCommits[number];
    commit(seed);
    sink = sink + 8;
}
