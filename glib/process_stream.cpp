#include "glib/process_stream.h"

namespace glib {

VMemStream& process_stream() {
    static VMemStream stream(VMemStream::default_step, VMemStream::default_step);
    return stream;
}

} // namespace glib
