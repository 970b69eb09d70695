#include "glib/process_stream.h"

namespace glib {

VMemStream& process_stream() {
    static VMemStream stream(VMemStream::kDefaultStep, VMemStream::kDefaultStep);
    return stream;
}

} // namespace glib
