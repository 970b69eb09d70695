// stb_image_resize as its distribution has it, compiled like our own loops.
#include <assert.h>
#include <math.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#undef __forceinline // the headers give the word a meaning that does not go with static
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb_image_resize.h>
