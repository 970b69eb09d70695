// The one memory stream that the imaging layer keeps for the process.
#pragma once

#include "glib/mem_stream.h"

namespace glib {

// A growable stream of the process allocator: growth step and first capacity 65,535 bytes. It is made at the first
// call and lives as long as the library; whoever uses it leaves it as he likes and does not share it between threads.
VMemStream& process_stream();

} // namespace glib
