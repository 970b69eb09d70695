"""What reports are grouped by: the kind of the fault, and the first frames of the program's own modules."""

import dataclasses
import fnmatch
import functools
import hashlib
import re

from inbox.config import BadSetting

_MOST_NAME = 200  # characters of a function


@dataclasses.dataclass(frozen=True)
class Signature:
    text: str
    kind: str
    title: str  # function or place of the first frame
    module: str

    @functools.cached_property
    def digest(self):
        return hashlib.sha256(self.text.encode("utf-8", "replace")).hexdigest()


class Rules:
    """The rules in a text; inbox/groups.txt says how they are written. identity: the same for the same rules."""

    def __init__(self, text):
        self.frames, patterns = 3, {"system": [], "skip": [], "group": []}
        for number, line in enumerate(text.splitlines(), 1):
            word, *rest = line.partition("#")[0].split() or [""]
            if word == "frames" and len(rest) == 1 and rest[0].isdigit() and 0 < int(rest[0]) <= 20:
                self.frames = int(rest[0])
            elif word in patterns and rest:
                patterns[word] += rest
            elif word:
                raise BadSetting(f"line {number} is no rule: {line.strip()[:100]}")
        joined = lambda some: "|".join(fnmatch.translate(pattern.lower()) for pattern in some) or r"(?!)"
        cached = functools.lru_cache(4096)
        self._tests = {word: cached(re.compile(joined(some)).match) for word, some in patterns.items()}
        self.identity = hashlib.sha256(repr((self.frames, patterns)).encode()).hexdigest()[:16]

    def is_own(self, frame):
        """Whether the frame is of the program's own modules."""
        return bool(frame.module) and not self._tests["system"](frame.module.lower())

    def matches(self, word, frame):
        module, function = frame.module.lower(), plain(frame.function).lower()
        return bool(self._tests[word](f"{module}!{function}") or self._tests[word](module))


def plain(function):
    """A function's name without what differs between readers of PDBs."""
    name = re.sub(r"(?:`anonymous[ -]namespace'|\(anonymous namespace\)|<lambda_[0-9a-f]+>)::", "", function[:1000])
    return re.sub(r"\(.*\)$", "", name)[:_MOST_NAME].strip()


def place(frame):
    """What a frame is called: its function, or module and offset, with the build that the offset is of."""
    if frame.function:
        return f"{frame.module.lower()}!{plain(frame.function)}"
    build = frame.key[:12] or (f"{frame.stamp:08X}" if frame.stamp else "")
    return f"{frame.module.lower()}{'@' + build if build else ''}+{frame.offset:X}"


def signature(facts, rules, product=""):
    """The Signature of a fault. No facts: one for each product."""
    if facts is None:
        title = f"No fault told by {product or 'an unknown program'}"
        return Signature(f"no fault: {product.lower()}", "no details of a fault", title, "")
    # Where a jump has led is no place in the program.
    frames = facts.frames[1 if facts.kind.endswith(", executed") else 0 :]
    # The report's own signature knows better which modules are the program's, by their folders, as far down as it goes.
    key, places = lambda frame: (frame.module.lower(), frame.offset), set(map(tuple, facts.places))
    last = max((list(map(key, frames)).index(place) for place in places & set(map(key, frames))), default=-1)
    own = [frame for at, frame in enumerate(frames) if rules.is_own(frame) and (at > last or key(frame) in places)]
    grouping = next((frame for frame in own if rules.matches("group", frame)), None)
    wanted = [grouping] if grouping else [frame for frame in own if not rules.matches("skip", frame)]
    wanted = wanted or own or [frame for frame in frames if frame.module][:1]
    named = list(dict.fromkeys(map(place, wanted)))[: rules.frames]  # each once: recursion is of any depth
    first = wanted[0] if wanted else None
    title = (plain(first.function) or f"{first.module}+{first.offset:X}") if first else "no known place"
    text = " | ".join([facts.kind, *(named or [product.lower()])])
    return Signature(text, facts.kind, title, first.module if first else "")
