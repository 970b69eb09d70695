/* A program in plain C. */
#include "kit_host.h"

static const char* volatile header;

static int parse_header(void) {
    return header[4]; /* fails */
}

static int (*volatile work)(void) = parse_header;

int main(int argc, char** argv) {
    (void)argv;
    cover(argc > 1);
    return work() + 1;
}
