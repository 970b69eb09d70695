/* A library with nothing in it but its resources. */
typedef int nothing;
