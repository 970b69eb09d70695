"""What is known about one fault: plain data, kept in the store as JSON."""

import dataclasses

from report import Module


@dataclasses.dataclass
class Frame:
    """A place in the stack, or with an empty module a line that stands for none."""

    text: str
    module: str = ""
    offset: int = 0
    address: str = ""
    function: str = ""
    file: str = ""
    line: int = 0
    key: str = ""  # identity of the module's PDB
    stamp: int = 0
    exact: bool = False  # the faulting instruction; otherwise the address behind a call
    inlined: bool = False
    guessed: bool = False


@dataclasses.dataclass
class Facts:
    """source says where it was found: "text" or "minidump"."""

    kind: str = "unknown fault"  # name of the exception, or its code
    words: str = ""  # the whole line about it
    code: str = ""
    address: str = ""
    thread: str = ""
    registers: dict = dataclasses.field(default_factory=dict)
    modules: list = dataclasses.field(default_factory=list)
    frames: list = dataclasses.field(default_factory=list)
    more: list = dataclasses.field(default_factory=list)  # lines that nobody here knows, in their order
    values: dict = dataclasses.field(default_factory=dict)  # of the host
    source: str = "text"

    @staticmethod
    def of(data):
        """From what the store has kept."""
        facts = Facts(**data)
        facts.modules = [Module(*each.values()) for each in facts.modules]
        facts.frames = [Frame(**each) for each in facts.frames]
        return facts
