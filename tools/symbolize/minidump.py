"""Says of a minidump what faultkit.dll would have said of the fault: reason, registers, modules, and as much of the stack as
is told without walking code. With 32 bits that is as far as frame pointers chain it; with 64 bits, which have no such chain,
it is the faulting frame. A jump to where no module lies has its caller on top of the stack, with both."""

import re
import struct

_THREADS, _MODULES, _EXCEPTION = 3, 4, 6  # streams
_MOST_STREAMS, _MOST_THREADS, _MOST_MODULES, _MOST_FRAMES = 200, 2000, 600, 200
_NAMES = {
    0x80000003: "EXCEPTION_BREAKPOINT",
    0xC0000005: "EXCEPTION_ACCESS_VIOLATION",
    0xC0000006: "EXCEPTION_IN_PAGE_ERROR",
    0xC000001D: "EXCEPTION_ILLEGAL_INSTRUCTION",
    0xC000008E: "EXCEPTION_FLT_DIVIDE_BY_ZERO",
    0xC0000094: "EXCEPTION_INT_DIVIDE_BY_ZERO",
    0xC0000095: "EXCEPTION_INT_OVERFLOW",
    0xC0000096: "EXCEPTION_PRIV_INSTRUCTION",
    0xC00000FD: "EXCEPTION_STACK_OVERFLOW",
    0xE06D7363: "C++ exception",
}
_TOUCHED = {0: "read", 1: "written", 8: "executed"}
# Where the contexts of both widths have them: {name: (offset, format)}.
_NARROW = {name: (156 + 4 * at, "<I") for at, name in enumerate("EDI ESI EBX EDX ECX EAX EBP EIP CS EFL ESP".split())}
_WIDE_NAMES = "RAX RCX RDX RBX RSP RBP RSI RDI R8 R9 R10 R11 R12 R13 R14 R15 RIP".split()
_WIDE = {name: (120 + 8 * at, "<Q") for at, name in enumerate(_WIDE_NAMES)} | {"EFL": (68, "<I")}
_NARROW_SIZE, _WIDE_SIZE = 204, 1232  # bytes of a context, at least


def is_minidump(content):
    return content[:4] == b"MDMP"


def text(content):
    """The text; None where this is no minidump, a damaged one, or one that tells of no exception."""
    try:
        return _text(memoryview(content)) if is_minidump(content) else None
    except (struct.error, ValueError, IndexError):
        return None


def _text(data):
    streams = {}
    count, directory = struct.unpack_from("<II", data, 8)
    for number in range(min(count, _MOST_STREAMS)):
        kind, _size, at = struct.unpack_from("<III", data, directory + 12 * number)
        streams.setdefault(kind, at)
    if _EXCEPTION not in streams:
        return None
    at = streams[_EXCEPTION]
    thread, _, code, _flags, _record, address, parameters = struct.unpack_from("<IIIIQQI", data, at)
    values = struct.unpack_from("<2Q", data, at + 40)
    context_size, context = struct.unpack_from("<II", data, at + 160)
    wide = context_size >= _WIDE_SIZE or address > 0xFFFFFFFF
    hex_of = lambda value: f"{value:016X}" if wide else f"{value:08X}"
    reason = f"{_NAMES.get(code, 'exception')} ({code:08X})"
    if code in (0xC0000005, 0xC0000006) and parameters >= 2:
        touched = "executed" if values[0] == 0 and values[1] == address else _TOUCHED.get(values[0], "read")
        reason += f": memory at {hex_of(values[1])} could not be {touched}"
    modules = list(_modules(data, streams))
    inside = lambda at: next(((name, at - base) for base, size, name, _ in modules if 0 <= at - base < size), None)
    line = lambda at: hex_of(at) + (" {}+{:08X}".format(*inside(at)) if inside(at) else " no module")
    registers = {}
    if context_size >= (_WIDE_SIZE if wide else _NARROW_SIZE):
        asked = (_WIDE if wide else _NARROW).items()
        registers = {name: struct.unpack_from(form, data, context + offset)[0] for name, (offset, form) in asked}
    stack = [address, *_callers(data, streams, thread, registers, wide, bool(inside(address)))]
    digits = lambda name: f"{registers[name]:08X}" if name in ("EFL", "CS") else hex_of(registers[name])
    told = [f"{name} {digits(name)}" for name in registers]
    lines = ["Crush Expantion:", reason, f"Instruction: {line(address)}", f"Thread: {thread:08X}"]
    lines += ["  ".join(told[at : at + 4]) for at in range(0, len(told), 4)]
    lines += ["Modules (base, size, time stamp, version, PDB identity, name):"]
    lines += [f"{hex_of(base)} {size:08X} {rest}" for base, size, _, rest in modules]
    lines += ["", "Stack Trace:", *map(line, stack), ""]
    return "\n".join(lines)


def _modules(data, streams):
    """(base, size, name, the rest of its line) of each."""
    at = streams.get(_MODULES)
    for number in range(min(struct.unpack_from("<I", data, at)[0], _MOST_MODULES) if at else 0):
        entry = at + 4 + 108 * number
        base, size, _sum, stamp, name_at = struct.unpack_from("<QIIII", data, entry)
        signature, _, high, low = struct.unpack_from("<4I", data, entry + 24)
        length = min(struct.unpack_from("<I", data, name_at)[0], 1024)
        name = _file_name(bytes(data[name_at + 4 : name_at + 4 + length]).decode("utf-16-le", "replace")) or "unknown"
        version = f"{high >> 16}.{high & 65535}.{low >> 16}.{low & 65535}" if signature == 0xFEEF04BD else "-"
        record_size, record = struct.unpack_from("<II", data, entry + 76)
        key, pdb = _identity(bytes(data[record : record + min(record_size, 1024)]))
        rest = f"{stamp:08X} {version if version != '0.0.0.0' else '-'} {key or '-'} {name}"
        yield base, size, name, rest + (f" | {pdb}" if pdb else "")


def _identity(record):
    """(identity, name) of the PDB."""
    if record[:4] != b"RSDS" or len(record) < 24:
        return "", ""
    first, second, third, last, age = struct.unpack_from("<IHH8sI", record, 4)
    name = _file_name(record[24:].partition(b"\0")[0].decode("utf-8", "replace"))
    return f"{first:08X}{second:04X}{third:04X}{last.hex().upper()}{age:X}", name


def _file_name(path):
    return re.sub(r"[\x00-\x1f|]", "?", path.rpartition("\\")[2])


def _callers(data, streams, thread, registers, wide, is_inside):
    """The return addresses that the faulting thread's stack tells."""
    at = streams.get(_THREADS) if registers else None
    for number in range(min(struct.unpack_from("<I", data, at)[0], _MOST_THREADS) if at else 0):
        identity, _, _, _, _, start, size, memory = struct.unpack_from("<IIIIQQII", data, at + 4 + 48 * number)
        if identity != thread:
            continue
        width, form = (8, "<Q") if wide else (4, "<I")
        top, pointer = (registers["RSP"], 0) if wide else (registers["ESP"], registers["EBP"])
        if not is_inside and start <= top <= start + size - width:
            yield struct.unpack_from(form, data, memory + top - start)[0]
        for _ in range(_MOST_FRAMES):
            if not start <= pointer <= start + size - 8:
                break
            following, back = struct.unpack_from("<II", data, memory + pointer - start)
            if back < 0x10000:
                break
            yield back
            if following <= pointer:
                break
            pointer = following
        return
