"""The picture in docs/architecture.md, from the includes of the product's sources.

An arrow says that files of one folder include those of another. One that a chain of others implies is left out. A circle
is refused. Broken lines, which no include shows, are what is found at run time.
"""

import pathlib
import re
import sys

REPO = pathlib.Path(__file__).resolve().parents[2]

# The folders as they are drawn, by the DLL that they make; a name stands for them in the picture.
DLLS = {
    "Wendax.dll": {
        "report": "entry points, translator, report classes, dialogs",
        "capture": "screen grab, screenshot file",
        "glib": "imaging layer",
        "net": "HTTP transport, upload body",
        "compose": "message, base64, memory file",
        "sysinfo": "probes and their joined text",
        "mfc": "our subset of the application framework",
        "win": "the guard, owners of handles, files, paths, the clock, run-time binding",
        "base": "strings and containers, no Windows",
        "crt": "start-up and exception glue of the cross toolchain",
    },
    "KOBRTL.dll": {"companions/kobrtl": "resampler, message box"},
    "fall.dll": {"companions/fall": "JPEG and other formats"},
    "faultkit.dll": {"companions/faultkit": "describes a fault"},
}
AT_RUN_TIME = (("glib", "companions/fall"), ("report", "companions/faultkit"))

FOLDERS = [folder for folders in DLLS.values() for folder in folders]
# Where the compiler looks for what it includes.
PLACES = (REPO, REPO / "mfc", REPO / "crt" / "include")


def folder_of(path):
    """The drawn folder in which the file lies, or None."""
    name = str(path.relative_to(REPO)) if path.is_relative_to(REPO) else ""
    return next((folder for folder in FOLDERS if name.startswith(folder + "/")), None)


def included(file):
    """The files of ours that a source includes."""
    for name in re.findall(r'^#include ["<]([^">]+)[">]', file.read_text("utf-8"), re.MULTILINE):
        for place in PLACES:
            if (place / name).is_file():
                yield place / name
                break


def read_edges():
    """{folder: folders whose files it includes}; tests don't count."""
    edges = {folder: set() for folder in FOLDERS}
    for folder in FOLDERS:
        for file in (REPO / folder).rglob("*"):
            if file.suffix in (".h", ".c", ".cpp") and not file.stem.endswith("_test"):
                edges[folder] |= {folder_of(target) for target in included(file)} - {folder, None}
    return edges


def below(edges, folder, path=()):
    """All folders that can be reached from one."""
    if folder in path:
        sys.exit("the includes go in a circle: " + " -> ".join((*path, folder)))
    reached = set()
    for target in edges[folder]:
        reached |= {target} | below(edges, target, (*path, folder))
    return reached


def drawn():
    edges = read_edges()
    reach = {folder: below(edges, folder) for folder in FOLDERS}
    direct = {
        folder: {target for target in targets if not any(target in reach[other] for other in targets)}
        for folder, targets in edges.items()
    }
    lines = ["```mermaid", "graph TD"]
    for dll, folders in DLLS.items():
        lines.append(f'    subgraph {dll.partition(".")[0].lower()}_dll["{dll}"]')
        lines += [f'        {node(folder)}["{folder}: {meaning}"]' for folder, meaning in folders.items()]
        lines.append("    end")
    lines += [
        f"    {node(folder)} --> {node(target)}" for folder in FOLDERS for target in FOLDERS if target in direct[folder]
    ]
    lines += [f"    {node(folder)} -. at run time .-> {node(target)}" for folder, target in AT_RUN_TIME]
    return "\n".join((*lines, "```\n"))


def node(folder):
    return folder.rpartition("/")[2]
