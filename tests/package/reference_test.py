"""The API reference is made from the public headers without a warning, and has every exported name."""

import re
import subprocess

from testing.processes import REPO


def test_reference_is_made_without_a_warning_and_is_complete(stage):
    settings = (
        REPO / "docs" / "Doxyfile"
    ).read_text() + f'\nOUTPUT_DIRECTORY = "{stage.artifacts}"\nGENERATE_XML = YES\n'
    done = subprocess.run(
        ["doxygen", "-"],
        cwd=REPO / "docs",
        input=settings,
        text=True,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        check=False,
    )
    assert (done.returncode, done.stdout) == (0, "")
    index = (stage.artifacts / "xml" / "index.xml").read_text("utf-8")
    described = set(re.findall(r'<member [^>]*kind="(?:function|variable)"><name>(\w+)</name>', index))
    definitions = (REPO / "report/x86/Wendax.def").read_text() + (REPO / "companions/faultkit/faultkit.def").read_text()
    names = set(re.findall(r"^\??([A-Za-z]\w+)(?:@|$)", definitions.partition("EXPORTS")[2], re.M)) - {"EXPORTS"}
    assert len(names) > 15
    assert (names | {"WendaxCoverThread"}) - described == set()
