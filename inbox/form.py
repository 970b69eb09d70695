"""Takes an upload apart, byte by byte as docs/upload-format.md has it. Whatever differs from that form is no upload."""

from inbox.parcel import Attachment, Unreadable

PARTS = "Conversion_Script Conversion_Config File_for_conversion Conversion_log Screen_copy System_info".split()
MOST_PATH = 32768  # bytes

_SETTINGS = {"ul_max_file_size": "20480", "ul_directory": "\nuploadfiles", "ul_file_types": "*,*,"}
_SETTINGS |= {"ul_file_increment": "0", "ul_email_file": "0"}
_FORM = "tableid= mosform=3 rowid= Itemid=113 act=processform option=com_mosforms form_id=3 Submit=Sumbit mosform=3"
_FIELD = '--AaB03x\ncontent-disposition: form-data; name="'
_PART_END = b"\n\n--AaB03x--\n"
_AFTER_PATH = b'"\nContent-type: image/pjpeg\nContent-Transfer-Encoding: binary\n\n'


def _start(part):
    settings = "".join(f'{_FIELD}{part}[{name}]"\n\n{value}\n' for name, value in _SETTINGS.items())
    return f'\n{settings}{_FIELD}{part}"; filename="'.encode()


_STARTS = tuple(map(_start, PARTS))
_TRAILER = ("".join(_FIELD + each.replace("=", '"\n\n') + "\n" for each in _FORM.split()) + "--AaB03x\n").encode()


def parse(body):
    """The Attachments of an upload's body, in the form's order; a part without path and content has none."""
    if not body.startswith(_STARTS[0]):
        raise Unreadable("this is not the form that the library sends")
    at, found = len(_STARTS[0]), []
    for number, part in enumerate(PARTS):
        # A search without an end would read the whole body for each quote that is missing.
        path_end = body.find(_AFTER_PATH, at, at + MOST_PATH + len(_AFTER_PATH))
        if path_end < 0:
            raise Unreadable(f"the header of {part} is cut off, or its path is none")
        path, start = body[at:path_end], path_end + len(_AFTER_PATH)
        if any(byte in path for byte in b"\r\n\0"):
            raise Unreadable(f"the path of {part} is none")
        # A file ends where the whole start of the next part follows its end, so that it may hold boundaries of its own.
        is_last = number + 1 == len(PARTS)
        rest = _PART_END + (_TRAILER if is_last else _STARTS[number + 1])
        end = body.find(rest, start) if not is_last else len(body) - len(rest) if body.endswith(rest) else -1
        if end < start:
            raise Unreadable(f"the report is cut off: {part} has no end")
        if path or end > start:
            found.append(Attachment(path.decode("windows-1251", "replace"), bytes(body[start:end]), part))
        at = end + len(rest)
    return tuple(found)
