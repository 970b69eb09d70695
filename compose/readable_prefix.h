// How much of a block of memory can be read.
#pragma once

namespace compose {

// The number of bytes from the start up to the first page that can't be read. The file behind a view may become
// unreadable after it was mapped, with its network or its disk; the read then faults, here instead of in the encoder.
unsigned readable_prefix(const unsigned char* data, unsigned size);

} // namespace compose
