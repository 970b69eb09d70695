"""Understands a minidump as far as a report needs it: exception, modules, and the stack as its frame pointers chain it."""

import struct

from inbox.facts import Facts, Frame, Module

_THREADS, _MODULES, _EXCEPTION, _UNLOADED = 3, 4, 6, 14
_MOST_MODULES, _MOST_FRAMES = 600, 200
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
# Where a 32-bit context has them.
_REGISTERS = dict(zip("EDI ESI EBX EDX ECX EAX EBP EIP CS EFL ESP".split(), range(156, 200, 4)))


def is_minidump(content):
    return content[:4] == b"MDMP"


def find(content):
    """The Facts in a minidump's bytes; None where it is damaged or tells of no exception."""
    try:
        return _read(memoryview(content))
    except (struct.error, UnicodeDecodeError, ValueError, IndexError):
        return None


def _read(data):
    count, directory = struct.unpack_from("<II", data, 8)
    streams = {}
    for number in range(min(count, 200)):
        kind, size, at = struct.unpack_from("<III", data, directory + 12 * number)
        streams.setdefault(kind, (at, size))
    if _EXCEPTION not in streams:
        return None
    at = streams[_EXCEPTION][0]
    thread, _, code, _flags, _record, address, parameters = struct.unpack_from("<IIIIQQI", data, at)
    values = struct.unpack_from("<2Q", data, at + 40)
    context_size, context = struct.unpack_from("<II", data, at + 160)
    kind = _NAMES.get(code, f"exception {code:08X}")
    facts = Facts(kind, code=f"{code:08X}", thread=f"{thread:08X}", source="minidump")
    facts.words = f"{facts.kind} ({code:08X})"
    if code in (0xC0000005, 0xC0000006) and parameters >= 2:
        touched = "executed" if values[0] == 0 and values[1] == address else _TOUCHED.get(values[0], "read")
        facts.kind += f", {touched}"
        facts.words += f": memory at {values[1]:08X} could not be {touched}"
    facts.modules = list(_modules(data, streams))
    wide = context_size >= 1232 or address > 0xFFFFFFFF
    facts.address = f"{address:016X}" if wide else f"{address:08X}"
    places = [address]
    if not wide and context_size >= 204:
        at_of = lambda offset: struct.unpack_from("<I", data, context + offset)[0]
        facts.registers = {name: f"{at_of(offset):08X}" for name, offset in _REGISTERS.items()}
        places += _chain(data, streams, thread, int(facts.registers["EBP"], 16))
    facts.frames = [_frame(facts.modules, place, number == 0) for number, place in enumerate(places)]
    return facts


def _modules(data, streams):
    if _MODULES not in streams:
        return
    at = streams[_MODULES][0]
    for number in range(min(struct.unpack_from("<I", data, at)[0], _MOST_MODULES)):
        entry = at + 4 + 108 * number
        base, size, _sum, stamp, name_at = struct.unpack_from("<QIIII", data, entry)
        signature, _, high, low = struct.unpack_from("<4I", data, entry + 24)
        length = min(struct.unpack_from("<I", data, name_at)[0], 1024)
        name = bytes(data[name_at + 4 : name_at + 4 + length]).decode("utf-16-le", "replace").rpartition("\\")[2]
        version = f"{high >> 16}.{high & 65535}.{low >> 16}.{low & 65535}" if signature == 0xFEEF04BD else ""
        record_size, record = struct.unpack_from("<II", data, entry + 76)
        key, pdb = _identity(bytes(data[record : record + min(record_size, 1024)]))
        yield Module(name, base, size, stamp, version if version != "0.0.0.0" else "", key, pdb)


def _identity(record):
    if record[:4] != b"RSDS" or len(record) < 24:
        return "", ""
    first, second, third, last, age = struct.unpack_from("<IHH8sI", record, 4)
    name = record[24:].partition(b"\0")[0].decode("utf-8", "replace").rpartition("\\")[2]
    return f"{first:08X}{second:04X}{third:04X}{last.hex().upper()}{age:X}", name


def _chain(data, streams, thread, pointer):
    """The return addresses that the frame pointers of a 32-bit stack lead to."""
    if _THREADS not in streams:
        return []
    at, found = streams[_THREADS][0], []
    for number in range(min(struct.unpack_from("<I", data, at)[0], 2000)):
        identity, _, _, _, _, start, size, memory = struct.unpack_from("<IIIIQQII", data, at + 4 + 48 * number)
        if identity != thread:
            continue
        while len(found) < _MOST_FRAMES and start <= pointer <= start + size - 8:
            following, back = struct.unpack_from("<II", data, memory + pointer - start)
            if back < 0x10000:
                break
            found.append(back)
            if following <= pointer:
                break
            pointer = following
    return found


def _frame(modules, place, exact):
    for module in modules:
        if 0 <= place - module.base < module.size:
            offset = place - module.base
            text = f"{place:08X} {module.name}+{offset:08X}"
            return Frame(text, module.name, offset, f"{place:08X}", key=module.key, stamp=module.stamp, exact=exact)
    return Frame(f"{place:08X} no module", address=f"{place:08X}", exact=exact)
