"""The upload form taken apart: what the library sends to the byte, and nothing else."""

import pytest

from inbox import form
from inbox.parcel import Unreadable
from testing.upload_body import PARTS, upload_body

FILES = {
    "Conversion_Script": (b"C:\\work\\script.txt", b"script\x00with zero\x00"),
    "Conversion_Config": (b"C:\\work\\empty.cfg", b""),
    "File_for_conversion": (b"D:\\\xcf\xe0\xef\xea\xe0\\50% a.dwg", bytes(range(256)) * 40),
    "Screen_copy": (b"C:\\Temp\\screen_copy.jpg", b"\xff\xd8 picture \r\n"),
}


def parsed(files):
    return {each.part: (each.name.encode("windows-1251"), each.content) for each in form.parse(upload_body(files))}


def test_files_come_out_byte_for_byte():
    assert parsed(FILES) == FILES


def test_form_without_files_has_none():
    assert form.parse(upload_body({})) == ()


@pytest.mark.parametrize(
    "content",
    (
        b"\n\n--AaB03x--\n",
        b"--AaB03x\n",
        b'\n--AaB03x\ncontent-disposition: form-data; name="Conversion_log',
        b"\n\n--AaB03x--\n\n--AaB03x\n",
    ),
    ids=("end of part", "boundary", "half a header", "end and boundary"),
)
def test_files_may_hold_lines_of_the_form(content):
    files = {part: (b"C:\\f", content) for part in PARTS}
    assert parsed(files) == files


def test_every_cut_is_refused_with_a_reason():
    whole = upload_body(FILES)
    for end in range(0, len(whole), 7):
        with pytest.raises(Unreadable) as refused:
            form.parse(whole[:end])
        assert str(refused.value)


def test_change_of_any_byte_of_the_form_is_refused_or_a_change_of_a_path():
    whole = upload_body({})
    for at in range(len(whole)):
        changed = whole[:at] + bytes([whole[at] ^ 1]) + whole[at + 1 :]
        try:
            assert form.parse(changed) != ()
        except Unreadable:
            pass


@pytest.mark.parametrize("path", (b"a\nb", b"a\rb", b"a\0b", b"x" * 40000), ids=("LF", "CR", "zero", "endless"))
def test_path_that_is_none_is_refused(path):
    with pytest.raises(Unreadable, match="path"):
        form.parse(upload_body({"Conversion_log": (path, b"log")}))
