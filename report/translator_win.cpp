// The translator that turns structured exceptions into C++ exceptions.
#include <new>

#include "include/wendax.h"
#include "report/se_exception.h"
#include "win/guard.h"

CSeException* last_translated_exception;

extern "C" void __cdecl APISeTranslator(unsigned int code, EXCEPTION_POINTERS* pointers) {
    // The object before stays: a report may still point to it.
    last_translated_exception = new (std::nothrow) CSeException(code, pointers);
    // A plain char* and not the object: that is what hosts catch. A const char* would not match their handlers.
    throw const_cast<char*>(kExceptionMarker);
}
