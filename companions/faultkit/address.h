// Addresses of the process that is described. The sources serve one kind of process at a time: FAULTKIT_BITS says
// which, and not the compiler, so that the tests of both run on one machine.
#pragma once

#include <stdint.h>

namespace faultkit {

#if FAULTKIT_BITS == 64
using Address = uint64_t;
#elif FAULTKIT_BITS == 32
using Address = uint32_t;
#else
#error FAULTKIT_BITS is 32 or 64
#endif

constexpr int kAddressDigits = 2 * sizeof(Address); // in texts

} // namespace faultkit
