#!/usr/bin/env python3
"""Makes the NuGet package for Visual C++ projects from the zip that scripts/package makes.

usage: packaging/nuget/make_package.py Wendax-VERSION.zip FOLDER

A NuGet package is a zip in the Open Packaging Conventions: [Content_Types].xml gives each kind of part its type, _rels/.rels
names the manifest. Native projects take build/native/ID.targets, whose paths are relative to it.
"""

import pathlib
import sys
import zipfile
from urllib.parse import quote
from xml.sax.saxutils import quoteattr

HERE = pathlib.Path(__file__).resolve().parent
NATIVE = ("bin/", "include/", "lib/")  # what the project's targets refer to
LEFT_OUT = ("lib/cmake/", "README.md")  # of the zip alone
EPOCH = (1980, 1, 1, 0, 0, 0)  # the same bytes whenever it is made
TYPES = {
    "rels": "application/vnd.openxmlformats-package.relationships+xml",
    "nuspec": "application/octet",
}
RELATIONSHIPS = """<?xml version="1.0" encoding="utf-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
  <Relationship Type="http://schemas.microsoft.com/packaging/2010/07/manifest" Target="/Wendax.nuspec" Id="manifest"/>
</Relationships>
"""


def content_types(names):
    """The part that gives all others a type: by suffix, or by name where there is none."""
    suffixes = sorted({name.rpartition(".")[2] for name in names if "." in pathlib.PurePosixPath(name).name})
    plain = sorted(name for name in names if "." not in pathlib.PurePosixPath(name).name)
    lines = [
        f'  <Default Extension={quoteattr(suffix)} ContentType="{TYPES.get(suffix, "application/octet")}"/>'
        for suffix in suffixes
    ]
    lines += [
        f'  <Override PartName={quoteattr("/" + quote(name))} ContentType="application/octet"/>' for name in plain
    ]
    return (
        '<?xml version="1.0" encoding="utf-8"?>\n'
        '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">\n'
        + "\n".join(lines)
        + "\n</Types>\n"
    )


def parts_of(archive, version):
    """{name of the part: its bytes}, without the content types."""
    parts = {"_rels/.rels": RELATIONSHIPS.encode()}
    parts["Wendax.nuspec"] = (HERE / "Wendax.nuspec").read_text("utf-8").replace("$version$", version).encode()
    parts["README.md"] = (HERE / "README.md").read_bytes()
    parts["build/native/Wendax.targets"] = (HERE / "Wendax.targets").read_bytes()
    for entry in archive.infolist():
        name = entry.filename.partition("/")[2]
        if not entry.is_dir() and not name.startswith(LEFT_OUT):
            place = f"build/native/{name}" if name.startswith(NATIVE) else name
            parts[place] = archive.read(entry)
    return parts


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.split("\n\n")[1])
    source, folder = map(pathlib.Path, sys.argv[1:])
    version = source.stem.removeprefix("Wendax-")
    with zipfile.ZipFile(source) as archive:
        parts = parts_of(archive, version)
    parts = {"[Content_Types].xml": content_types(parts).encode(), **dict(sorted(parts.items()))}
    with zipfile.ZipFile(folder / f"Wendax.{version}.nupkg", "w") as package:
        for name, content in parts.items():
            # Names of parts are percent-encoded, but for the one that isn't a part.
            place = name if name.startswith("[") else quote(name)
            package.writestr(zipfile.ZipInfo(place, EPOCH), content, zipfile.ZIP_DEFLATED)


if __name__ == "__main__":
    main()
