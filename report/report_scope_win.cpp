// The resources are switched within the scope of the floating-point settings, the last that comes back.
#include "report/report_scope.h"

#include "base/floating_point_scope.h"

namespace {

struct LibraryResources {
    HINSTANCE const saved = AfxGetResourceHandle();

    LibraryResources() { AfxSetResourceHandle(library_module()); }
    ~LibraryResources() { AfxSetResourceHandle(saved); }
};

} // namespace

void report::call_as_library(void (*function)(void* context), void* context) {
    gen::call_with_own_floating_point([&] {
        const LibraryResources resources;
        function(context);
    });
}
