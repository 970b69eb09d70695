// Unwind data are a header of four bytes and one code for each instruction of the prologue that matters, the last one
// first. Each says how far into the function its instruction ends, so that a function interrupted among them is undone
// as far as it had come. Functions in several parts chain the data of the later parts to those of the first.
#include "companions/faultkit/walk/x64/unwind.h"

#include "companions/faultkit/walk/instructions.h"

namespace faultkit {
namespace {

enum Operation : uint8_t {
    kPush,
    kAllocateLarge,
    kAllocateSmall,
    kSetFramePointer,
    kSave,
    kSaveFar,
    kEpilogue,
    kSpare,
    kSaveVector,
    kSaveVectorFar,
    kMachineFrame,
};
constexpr uint8_t kChained = 4;
constexpr unsigned kMostParts = 32;

struct UnwindData {
    uint8_t version, flags, prologue_size, count;
    uint8_t frame_register;
    uint32_t frame_offset;
    uint8_t codes[2 * 255];
    FunctionEntry parent; // of a chained part

    bool read(Memory& memory, const Image& image, uint32_t offset);

    // The 16 or 32 bits behind code i.
    uint32_t operand(unsigned i, bool wide) const {
        const uint8_t* at = codes + 2 * (i + 1);
        return wide ? four_bytes(at) : at[0] | at[1] << 8;
    }
};

bool UnwindData::read(Memory& memory, const Image& image, uint32_t offset) {
    uint8_t header[4];
    if (!image.contains(offset, sizeof header) || !memory.read(image.base + offset, header, sizeof header))
        return false;
    version = header[0] & 7;
    flags = header[0] >> 3;
    prologue_size = header[1];
    count = header[2];
    frame_register = header[3] & 15;
    frame_offset = (header[3] >> 4) * 16u;
    const uint32_t size = 2u * count, behind = offset + 4 + (size + 3) / 4 * 4;
    return (version == 1 || version == 2) && image.contains(offset + 4, size) &&
           memory.read(image.base + offset + 4, codes, size) &&
           (!(flags & kChained) ||
            (image.contains(behind, sizeof parent) && memory.read(image.base + behind, &parent, sizeof parent)));
}

unsigned size_of(uint8_t operation, uint8_t info) {
    switch (operation) {
    case kAllocateLarge:
        return info ? 3 : 2;
    case kSave:
    case kSaveVector:
    case kEpilogue:
        return 2;
    case kSaveFar:
    case kSaveVectorFar:
    case kSpare:
        return 3;
    default:
        return 1;
    }
}

// Undoes the instructions that end within the first `done` bytes. *returned: the return address was found, too.
bool undo(Memory& memory, const UnwindData& data, uint32_t done, Frame* frame, bool* returned) {
    Address* const registers = frame->registers;
    Address& sp = registers[kRsp];
    // Registers are saved relative to where the stack ended, or to the frame pointer once that is set.
    Address base = sp;
    bool framed = data.frame_register && (done >= data.prologue_size || data.flags & kChained);
    for (unsigned i = 0; i < data.count && data.frame_register && !framed;) {
        const uint8_t operation = data.codes[2 * i + 1] & 15;
        framed = operation == kSetFramePointer && data.codes[2 * i] <= done;
        i += size_of(operation, data.codes[2 * i + 1] >> 4);
    }
    if (framed)
        base = registers[data.frame_register] - data.frame_offset;
    for (unsigned i = 0, size; i < data.count; i += size) {
        const uint8_t operation = data.codes[2 * i + 1] & 15, info = data.codes[2 * i + 1] >> 4;
        size = size_of(operation, info);
        if (i + size > data.count)
            return false;
        if (data.codes[2 * i] > done)
            continue;
        switch (operation) {
        case kPush:
            if (info != kRsp && !memory.read_address(sp, &registers[info]))
                return false;
            sp += 8;
            break;
        case kAllocateLarge:
            sp += info ? data.operand(i, true) : data.operand(i, false) * 8;
            break;
        case kAllocateSmall:
            sp += info * 8u + 8;
            break;
        case kSetFramePointer:
            sp = base;
            break;
        case kSave:
        case kSaveFar: {
            const uint32_t offset = operation == kSave ? data.operand(i, false) * 8 : data.operand(i, true);
            if (info != kRsp && !memory.read_address(base + offset, &registers[info]))
                return false;
            break;
        }
        case kEpilogue:
        case kSpare:
        case kSaveVector:
        case kSaveVectorFar:
            break;
        case kMachineFrame: {
            // What the processor pushed: an error code, if info says so, address, code segment, flags and stack.
            Address words[4];
            if (!memory.read(sp + (info ? 8 : 0), words, sizeof words))
                return false;
            frame->pc = words[0];
            sp = words[3];
            frame->interrupted = *returned = true;
            break;
        }
        default:
            return false;
        }
    }
    return true;
}

// "add rsp" and "lea rsp, [frame pointer + value]" are what an epilogue begins with, if anything was allocated. Returns
// the instruction's length, 0 for any other.
uint32_t release_stack(const uint8_t* code, uint8_t frame_register, Frame* frame) {
    Address& sp = frame->registers[kRsp];
    const auto number = [&](uint32_t at, bool wide) {
        return static_cast<Address>(wide ? static_cast<int32_t>(four_bytes(code + at)) : static_cast<int8_t>(code[at]));
    };
    if (code[0] == 0x48 && (code[1] == 0x83 || code[1] == 0x81) && code[2] == 0xC4) {
        const bool wide = code[1] == 0x81;
        sp += number(3, wide);
        return wide ? 7 : 4;
    }
    const uint8_t mode = code[2] >> 6, base = static_cast<uint8_t>((code[2] & 7) | (code[0] & 1) << 3);
    if ((code[0] & 0xFE) != 0x48 || code[1] != 0x8D || (code[2] >> 3 & 7) != kRsp || base != frame_register ||
        !frame_register || (base & 7) == kRsp || (mode != 1 && mode != 2))
        return 0;
    sp = frame->registers[base] + number(3, mode == 2);
    return mode == 2 ? 7 : 4;
}

// Whether a return, or a jump to another function, stands there.
bool is_last_instruction(Memory& memory, const Image& image, const FunctionEntry& function, uint32_t offset,
                         const uint8_t* code) {
    if (code[0] == 0xC3 || code[0] == 0xC2 || (code[0] == 0xF3 && code[1] == 0xC3))
        return true;
    const uint32_t prefix = (code[0] & 0xF8) == 0x48;
    if (code[prefix] == 0xFF && (code[prefix + 1] == 0x25 || (prefix && (code[prefix + 1] & 0xF8) == 0xE0)))
        return true; // through a place in memory, or a register
    uint32_t target = 0;
    if (code[0] == 0xEB)
        target = offset + 2 + static_cast<uint32_t>(static_cast<int8_t>(code[1]));
    else if (code[0] == 0xE9)
        target = offset + 5 + four_bytes(code + 1);
    else
        return false;
    FunctionEntry other;
    return !find_function(memory, image, image.base + target, &other) ||
           first_part(memory, image, other).begin != first_part(memory, image, function).begin;
}

} // namespace

FunctionEntry first_part(Memory& memory, const Image& image, FunctionEntry function) {
    UnwindData data;
    for (unsigned i = 0; i < kMostParts && data.read(memory, image, function.unwind) && data.flags & kChained; ++i)
        function = data.parent;
    return function;
}

bool pop_return_address(Memory& memory, Frame* frame) {
    Address& sp = frame->registers[kRsp];
    frame->interrupted = false;
    if (!memory.read_address(sp, &frame->pc))
        return false;
    sp += 8;
    return true;
}

bool unwind(Memory& memory, const Image& image, const FunctionEntry& function, const Frame& frame, Frame* caller) {
    *caller = frame;
    // A part that is entered from within its function has been entered as a whole.
    uint32_t done = static_cast<uint32_t>(frame.pc - image.base) - function.begin;
    uint32_t offset = function.unwind;
    bool returned = false;
    UnwindData data;
    for (unsigned i = 0; i < kMostParts; ++i) {
        if (!data.read(memory, image, offset) || !undo(memory, data, done, caller, &returned))
            return false;
        if (returned)
            break;
        if (!(data.flags & kChained)) {
            if (!pop_return_address(memory, caller))
                return false;
            break;
        }
        offset = data.parent.unwind;
        done = 0xFFFFFFFF;
    }
    caller->sp = caller->registers[kRsp];
    return true;
}

bool finish_function(Memory& memory, const Image& image, const FunctionEntry& function, const Frame& frame,
                     Frame* caller) {
    constexpr uint32_t kLongest = 64, kBehind = 8;
    UnwindData data;
    const uint32_t begin = static_cast<uint32_t>(frame.pc - image.base);
    if (!frame.interrupted || !data.read(memory, image, function.unwind) ||
        (begin - function.begin < data.prologue_size && !(data.flags & kChained)))
        return false;
    // Behind the function there is nothing, which is no instruction of an epilogue.
    uint8_t code[kLongest + kBehind] = {};
    const uint32_t size = function.end - begin < kLongest ? function.end - begin : kLongest;
    if (!memory.read(frame.pc, code, size))
        return false;
    *caller = frame;
    Address& sp = caller->registers[kRsp];
    uint32_t at = release_stack(code, data.frame_register, caller);
    while (at < size) {
        const uint32_t prefix = (code[at] & 0xFE) == 0x40; // of the upper eight registers
        if ((code[at + prefix] & 0xF8) != 0x58)
            break;
        const uint32_t popped = (code[at + prefix] & 7) | (prefix && code[at] & 1 ? 8 : 0);
        if (popped == kRsp || !memory.read_address(sp, &caller->registers[popped]))
            return false;
        sp += 8;
        at += prefix + 1;
    }
    if (at >= size || !is_last_instruction(memory, image, function, begin + at, code + at) ||
        !pop_return_address(memory, caller))
        return false;
    caller->sp = sp;
    return true;
}

} // namespace faultkit
