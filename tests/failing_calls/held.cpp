#include "tests/failing_calls/held.h"

#include <string.h>

namespace {

constexpr unsigned kBuckets = 4096;

struct Node {
    Held held;
    Node* next;
};

Node* buckets[kBuckets];

Node*& bucket_of(uintptr_t value) {
    return buckets[(value >> 3 ^ value >> 15) % kBuckets];
}

} // namespace

void opened(const char* kind, uintptr_t value, const void* caller) {
    Node*& bucket = bucket_of(value);
    bucket = new Node{{kind, value, caller}, bucket};
}

void closed(const char* kind, uintptr_t value) {
    for (Node** link = &bucket_of(value); *link; link = &(*link)->next) {
        Node* const node = *link;
        if (node->held.value == value && strcmp(node->held.kind, kind) == 0) {
            *link = node->next;
            delete node;
            return;
        }
    }
}

unsigned held_count() {
    unsigned count = 0;
    for (const Node* node : buckets)
        for (; node; node = node->next)
            ++count;
    return count;
}

void for_each_held(void (*visit)(const Held& held)) {
    for (const Node* node : buckets)
        for (; node; node = node->next)
            visit(node->held);
}

void drop_held() {
    for (Node*& bucket : buckets) {
        while (Node* const node = bucket) {
            bucket = node->next;
            if (strcmp(node->held.kind, "module") == 0) // blocks go with the heap of their library
                FreeLibrary(reinterpret_cast<HMODULE>(node->held.value));
            delete node;
        }
    }
}
