"""Writes the header that tells report/destinations_win.cpp what its record holds, from the settings of the build.

usage: destinations.py HEADER SETTING=VALUE...

The settings are CMake's cache variables, without WENDAX_.
"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tools"))
import redirect


def literal(text):
    """As C has it."""
    is_plain = lambda byte: 32 <= byte < 127 and byte not in b'"\\?'
    return '"' + "".join(chr(byte) if is_plain(byte) else f"\\{byte:03o}" for byte in text.encode("cp1251")) + '"'


def switch(word):
    """As CMake understands it."""
    return int(word.upper() in ("1", "ON", "YES", "TRUE", "Y"))


def values(settings):
    """{macro: its text}; what can't be is refused under the name of its setting."""
    makers = {
        "SUPPORT_ADDRESS": lambda text: literal(redirect.recipient(text)),
        "UPLOAD_SERVER": lambda text: literal(redirect.host_name(text)),
        "UPLOAD_URL": lambda text: literal(redirect.upload_address(text)) if text else None,
        "PRODUCT": lambda text: literal(redirect.name_of("product", text)),
        "COMPANY": lambda text: literal(redirect.name_of("company", text)),
        "HOST_PROGRAM": lambda text: literal(redirect.name_of("program", text)),
        "OWN_PICTURES": switch,
        "PROXY": switch,
    }
    found = {}
    for name, make in makers.items():
        try:
            found[name] = make(settings[name])
        except redirect.Refused as reason:
            sys.exit(f"WENDAX_{name}: {reason}")
    found["UPLOAD_ADDRESS"] = found.pop("UPLOAD_URL") or found.pop("UPLOAD_SERVER")
    return found


def main():
    header, *settings = sys.argv[1:]
    found = values(dict(setting.split("=", 1) for setting in settings))
    text = "".join(f"#define WENDAX_{name} {value}\n" for name, value in found.items() if name != "UPLOAD_SERVER")
    file = pathlib.Path(header)
    if not file.exists() or file.read_text() != text:  # otherwise what includes it needn't be compiled again
        file.write_text(text)


if __name__ == "__main__":
    main()
