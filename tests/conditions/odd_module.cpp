// A format module that no report can use: each variant lacks what its .def leaves out, or speaks another version.
#include "glib/module_contract.h"

#ifndef ODD_VERSION
#define ODD_VERSION GLIB_INTERFACE_VERSION
#endif

namespace {
const uint32_t kFormats[] = {0x044A5047u}; // JPEG
}

extern "C" {

void GLIB_CALL GetFilterInfo(uint32_t, glib::FilterInfoRequest* request) {
    request->interface_version = ODD_VERSION;
    request->format_count = 1;
    request->formats = kFormats;
}

void SomethingElse() {}
}
