// The walker for the kind of process that the sources are built for.
#pragma once

#include "companions/faultkit/address.h"
#if FAULTKIT_BITS == 64
#include "companions/faultkit/walk/x64/frame_walker.h"
#else
#include "companions/faultkit/walk/x86/frame_walker.h"
#endif
