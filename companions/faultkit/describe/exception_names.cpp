// Only a table: a code that is not in it is reported by its number and parameters.
#include "companions/faultkit/describe/fault_text.h"

namespace faultkit {
namespace {

const ExceptionName kNames[] = {
    {0x40010005, "DBG_CONTROL_C", "Ctrl+C was pressed"},
    {0x40010006, "DBG_PRINTEXCEPTION_C", "a text for the debugger"},
    {0x40010008, "DBG_CONTROL_BREAK", "Ctrl+Break was pressed"},
    {0x406D1388, "thread name", "a thread told the debugger its name"},
    {0x80000001, "EXCEPTION_GUARD_PAGE", "a guard page was touched"},
    {0x80000002, "EXCEPTION_DATATYPE_MISALIGNMENT", "data was not aligned as the processor needs it"},
    {0x80000003, "EXCEPTION_BREAKPOINT", "a breakpoint was reached"},
    {0x80000004, "EXCEPTION_SINGLE_STEP", "one instruction was executed under trace"},
    {0x80000100, "EXCEPTION_WINE_STUB", "a function that this Wine lacks was called"},
    {kAccessViolation, "EXCEPTION_ACCESS_VIOLATION", ""},
    {kInPageError, "EXCEPTION_IN_PAGE_ERROR", ""},
    {0xC0000008, "EXCEPTION_INVALID_HANDLE", "an invalid handle was used"},
    {0xC0000017, "STATUS_NO_MEMORY", "an allocation failed"},
    {0xC000001D, "EXCEPTION_ILLEGAL_INSTRUCTION", "the processor does not know the instruction"},
    {0xC0000025, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "the program went on after an exception that forbids it"},
    {0xC0000026, "EXCEPTION_INVALID_DISPOSITION", "an exception handler gave an invalid answer"},
    {0xC000008C, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED", "an index was outside its array"},
    {0xC000008D, "EXCEPTION_FLT_DENORMAL_OPERAND", "a floating point operand was denormal"},
    {0xC000008E, "EXCEPTION_FLT_DIVIDE_BY_ZERO", "a floating point number was divided by zero"},
    {0xC000008F, "EXCEPTION_FLT_INEXACT_RESULT", "a floating point result was inexact"},
    {0xC0000090, "EXCEPTION_FLT_INVALID_OPERATION", "a floating point operation was invalid"},
    {0xC0000091, "EXCEPTION_FLT_OVERFLOW", "a floating point result was too large"},
    {0xC0000092, "EXCEPTION_FLT_STACK_CHECK", "the floating point stack overflowed or underflowed"},
    {0xC0000093, "EXCEPTION_FLT_UNDERFLOW", "a floating point result was too small"},
    {0xC0000094, "EXCEPTION_INT_DIVIDE_BY_ZERO", "an integer was divided by zero"},
    {0xC0000095, "EXCEPTION_INT_OVERFLOW", "an integer result was too large"},
    {0xC0000096, "EXCEPTION_PRIV_INSTRUCTION", "the instruction is reserved to the operating system"},
    {0xC00000FD, "EXCEPTION_STACK_OVERFLOW", "the thread used up its stack"},
    {0xC0000135, "STATUS_DLL_NOT_FOUND", "a library was not found"},
    {0xC0000138, "STATUS_ORDINAL_NOT_FOUND", "a library lacks a function looked up by number"},
    {0xC0000139, "STATUS_ENTRYPOINT_NOT_FOUND", "a library lacks a function looked up by name"},
    {0xC000013A, "STATUS_CONTROL_C_EXIT", "Ctrl+C ended the program"},
    {0xC0000142, "STATUS_DLL_INIT_FAILED", "a library failed to start"},
    {0xC0000194, "EXCEPTION_POSSIBLE_DEADLOCK", "a critical section was not free in time"},
    {0xC00002B4, "STATUS_FLOAT_MULTIPLE_FAULTS", "one or more SSE operands were invalid"},
    {0xC00002B5, "STATUS_FLOAT_MULTIPLE_TRAPS", "one or more SSE results were out of range"},
    {0xC0000374, "STATUS_HEAP_CORRUPTION", "the heap was found damaged"},
    {0xC0000409, "STATUS_STACK_BUFFER_OVERRUN", "a damaged stack or another fatal state was found"},
    {0xC0000417, "STATUS_INVALID_CRUNTIME_PARAMETER", "the C runtime was given an invalid argument"},
    {0xC0000420, "STATUS_ASSERTION_FAILURE", "an assertion failed"},
    {0xC06D007E, "delay load: module not found", "a library that is loaded on first use was not found"},
    {0xC06D007F, "delay load: procedure not found", "a library that is loaded on first use lacks a function"},
    {0x0EEDFADE, "Delphi exception", "raised by code of that compiler"},
    {0xE0434352, "CLR exception", "raised by managed code"},
    {0xE0434F4D, "CLR exception", "raised by managed code of an older runtime"},
    {kTerminate, "std::terminate", "the program was ended by std::terminate"},
    {kPureCall, "pure virtual call", "a function was called that the object does not have yet, or any more"},
    {kInvalidParameter, "invalid parameter", "the C runtime was given an invalid argument"},
    {kAbort, "abort", "the program called abort"},
    {kCxxException, "C++ exception", "thrown by throw"},
};

} // namespace

const ExceptionName* find_exception_name(uint32_t code) {
    for (const ExceptionName& entry : kNames)
        if (entry.code == code)
            return &entry;
    return nullptr;
}

bool is_float_exception(uint32_t code) {
    return (code >= 0xC000008D && code <= 0xC0000093) || code == 0xC00002B4 || code == 0xC00002B5;
}

} // namespace faultkit
