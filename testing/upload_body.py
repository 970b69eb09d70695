"""The body of an upload, built a second time and from another angle than the library does."""

BOUNDARY = b"AaB03x"
CONTENT_TYPE = "multipart/form-data; boundary=AaB03x"
FORM_PATH = "/index.php?option=com_mosforms"
CONFIRMATION = b"Data has uploaded successfully"
YES = b"Well: " + CONFIRMATION  # the library wants it after the answer's beginning

# In the order in which they are sent.
PARTS = (
    "Conversion_Script",
    "Conversion_Config",
    "File_for_conversion",
    "Conversion_log",
    "Screen_copy",
    "System_info",
)

_SETTINGS = (
    (b"ul_max_file_size", b"20480"),
    (b"ul_directory", b"\nuploadfiles"),
    (b"ul_file_types", b"*,*,"),
    (b"ul_file_increment", b"0"),
    (b"ul_email_file", b"0"),
)
_FORM = (
    (b"tableid", b""),
    (b"mosform", b"3"),
    (b"rowid", b""),
    (b"Itemid", b"113"),
    (b"act", b"processform"),
    (b"option", b"com_mosforms"),
    (b"form_id", b"3"),
    (b"Submit", b"Sumbit"),
    (b"mosform", b"3"),
)


def upload_body(files):
    """files: {part name: (path, content)}, both bytes; parts left out have neither."""
    pieces = []
    for part in PARTS:
        path, content = files.get(part, (b"", b""))
        name = part.encode()
        pieces.append(b"\n")
        pieces += [_field(b"%s[%s]" % (name, key)) + b"\n\n" + value + b"\n" for key, value in _SETTINGS]
        head = b'; filename="%s"\nContent-type: image/pjpeg\nContent-Transfer-Encoding: binary\n\n' % path
        pieces += [_field(name), head, content, b"\n\n--", BOUNDARY, b"--\n"]
    pieces += [_field(key) + b"\n\n" + value + b"\n" for key, value in _FORM]
    pieces += [b"--", BOUNDARY, b"\n"]
    return b"".join(pieces)


def _field(name):
    return b"--" + BOUNDARY + b'\ncontent-disposition: form-data; name="' + name + b'"'
