// Takes the input for a 64-bit image's table of functions, unwind data and code, and for the stack and registers of a
// thread that faulted in it. However they are damaged, the walk reads only what is there, rises and ends.
#include <cstdlib>
#include <memory>

#include "companions/faultkit/walk/x64/frame_walker.h"
#include "testing/cxx/fake_process.h"

namespace {

using faultkit::Address;
using faultkit::FakeMemory;

constexpr Address kImage = 0x140000000, kStack = 0x200000;
constexpr std::uint32_t kHeaders = 0x80, kTable = 0x1000, kTableSize = 0x60, kUnwind = 0x2000, kUnwindSize = 0x100;
constexpr std::uint32_t kCode = 0x3000, kCodeSize = 0x200, kStackSize = 0x200;

// Pieces of the input, one after the other; zeros when it is used up.
struct Input {
    const std::uint8_t* data;
    std::size_t size;

    FakeMemory::Bytes take(std::size_t count) {
        FakeMemory::Bytes bytes(count);
        const std::size_t there = count < size ? count : size;
        std::copy_n(data, there, bytes.begin());
        data += there;
        size -= there;
        return bytes;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input = {data, size};
    const FakeMemory::Bytes start = input.take(4); // instruction, stack pointer, and what the registers hold
    FakeMemory memory;
    memory.fill(kImage, 0x200, 0);
    memory.put(kImage, {0x4D, 0x5A});
    memory.put_u32(kImage + 0x3C, kHeaders);
    memory.put_u32(kImage + kHeaders, 0x4550);
    memory.put_u32(kImage + kHeaders + 24 + 108, 16);
    memory.put_u32(kImage + kHeaders + 24 + 112 + 3 * 8, kTable);
    memory.put_u32(kImage + kHeaders + 24 + 112 + 3 * 8 + 4, kTableSize);
    memory.put(kImage + kTable, input.take(kTableSize));
    memory.put(kImage + kUnwind, input.take(kUnwindSize));
    memory.put(kImage + kCode, input.take(kCodeSize));
    memory.put(kStack, input.take(kStackSize));

    const auto modules = std::make_unique<faultkit::ModuleTable>();
    modules->clear();
    faultkit::Module* const module = modules->next();
    *module = faultkit::Module();
    module->image.base = kImage;
    module->image.size = kCode + kCodeSize;
    module->image.range_count = 1;
    module->image.code[0] = {kImage + kCode, kImage + kCode + kCodeSize};
    modules->commit();

    faultkit::Frame frame = {
        kImage + kCode + start[0] * 2u, kStack + start[1] * 2u, faultkit::FrameOrigin::kInterrupted, true, {}};
    for (Address& one : frame.registers)
        one = kStack + start[2] * 8u;
    frame.registers[faultkit::kRsp] = frame.sp;
    faultkit::FrameWalker walker(memory, *modules, kStack + kStackSize);
    for (faultkit::Frame caller; walker.find_caller(frame, &caller); frame = caller)
        if (caller.sp <= frame.sp || caller.sp > kStack + kStackSize)
            std::abort();
    return 0;
}
