"""Writes the header that tells report/destinations_win.cpp where reports go, from the settings of the build.

usage: destinations.py SUPPORT_ADDRESS UPLOAD_SERVER HEADER
"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tools"))
import redirect  # pylint: disable=wrong-import-position


def literal(text):
    """As C has it. Neither place can hold a backslash."""
    return '"' + text.replace('"', '\\"').replace("\r", "\\r").replace("\n", "\\n") + '"'


def main():
    address, server, header = sys.argv[1:]
    try:
        text = (
            f"#define WENDAX_SUPPORT_ADDRESS {literal(redirect.recipient(address))}\n"
            f"#define WENDAX_UPLOAD_SERVER {literal(redirect.host_name(server))}\n"
        )
    except redirect.Refused as reason:
        sys.exit(str(reason))
    file = pathlib.Path(header)
    if not file.exists() or file.read_text() != text:  # otherwise what includes it needn't be compiled again
        file.write_text(text)


if __name__ == "__main__":
    main()
