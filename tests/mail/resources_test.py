"""The dialog templates as they lie in the DLL, field by field."""

import re
import struct

RT_ICON_GROUP, RT_BITMAP, RT_DIALOG = 14, 2, 5
BUTTON, STATIC = 0x80, 0x82

DS_SETFONT, DS_MODALFRAME = 0x40, 0x80
WS_POPUP, WS_VISIBLE, WS_CAPTION, WS_SYSMENU = 0x80000000, 0x10000000, 0x00C00000, 0x00080000
WS_EX_CLIENTEDGE = 0x200
SS_ICON, SS_WHITEFRAME, SS_BITMAP, SS_SUNKEN = 0x03, 0x09, 0x0E, 0x1000
BS_DEFPUSHBUTTON = 0x01

SORRY = "The program has encountered a problem and needs to close.  We are sorry for the inconvenience."


class Reader:
    """Reads an extended dialog template."""

    def __init__(self, data):
        self.data, self.at = data, 0

    def take(self, form):
        values = struct.unpack_from("<" + form, self.data, self.at)
        self.at += struct.calcsize("<" + form)
        return values if len(values) > 1 else values[0]

    def name(self):
        """A text, or a number behind the mark 0xFFFF."""
        if struct.unpack_from("<H", self.data, self.at)[0] == 0xFFFF:
            return self.take("HH")[1]
        end = self.at
        while self.data[end : end + 2] != b"\0\0":
            end += 2
        text = self.data[self.at : end].decode("utf-16-le", "surrogatepass")
        self.at = end + 2
        return text

    def align(self):
        self.at = (self.at + 3) & ~3


def parse(data):
    """{dialog fields}, and a list of its controls as dictionaries."""
    reader = Reader(data)
    version, signature, _, extended, style, count, x, y, width, height = reader.take("HHIIIHhhhh")
    assert (version, signature) == (1, 0xFFFF)
    dialog = {"style": style, "extended": extended, "size": (x, y, width, height)}
    for field in ("menu", "class", "caption"):
        dialog[field] = reader.name()
    dialog["font size"], _, _, _ = reader.take("HHBB")
    dialog["font"] = reader.name()
    controls = []
    for _ in range(count):
        reader.align()
        _, extended, style, x, y, width, height, number = reader.take("IIIhhhhi")
        control = {"extended": extended, "style": style, "place": (x, y, width, height), "id": number}
        controls.append({**control, "class": reader.name(), "text": reader.name()})
        creation_data = reader.take("H")
        reader.at += creation_data
    return dialog, controls


def resource(stage, kind, number):
    done = stage.wine().run(stage.product("resource_host.exe"), stage.product("Wendax.dll"), kind, number)
    assert done.returncode == 0
    return done.stdout


def dialog_of(stage, number, size):
    dialog, controls = parse(resource(stage, RT_DIALOG, number))
    assert dialog["size"] == (0, 0, *size)
    assert dialog["caption"] == "Software Error Report"
    assert (dialog["font size"], dialog["font"]) == (8, "MS Sans Serif")
    assert dialog["style"] == DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_VISIBLE | WS_CAPTION | WS_SYSMENU
    named = sorted(control["id"] for control in controls if control["id"] != -1)
    assert named == ([1, 2, 19000] if number == 299 else [1, 2, 19000, 19001])
    return {control["place"]: control for control in controls}


def assert_shared_controls(controls):
    assert controls[84, 7, 206, 33]["style"] & 0x1F == SS_WHITEFRAME
    assert controls[89, 11, 158, 24]["text"] == SORRY
    icon = controls[262, 13, 20, 20]
    assert (icon["id"], icon["text"], icon["style"] & 0x1F) == (19000, 128, SS_ICON)
    bitmap = controls[7, 7, 75, 138]
    assert (bitmap["text"], bitmap["style"] & 0x1F) == (228, SS_BITMAP)
    assert bitmap["extended"] & WS_EX_CLIENTEDGE


def assert_button(control, number, text, default=False):
    assert (control["class"], control["id"], control["text"]) == (BUTTON, number, text)
    assert control["style"] & 0xF == (BS_DEFPUSHBUTTON if default else 0)


def test_email_dialog_is_as_users_know_it(stage):
    controls = dialog_of(stage, 299, (300, 173))
    assert len(controls) == 10
    assert_shared_controls(controls)
    assert_button(controls[223, 153, 70, 14], 1, "Open Error Report", default=True)
    assert_button(controls[148, 153, 70, 14], 2, "Don't Open && Close")
    assert (
        controls[86, 47, 203, 21]["text"]
        == "If you were in the middle of something, the information you were working on might be lost."
    )
    assert controls[86, 70, 197, 8]["text"] == "Please tell Torvex about this problem."
    assert controls[86, 86, 206, 36]["text"] == (
        "We have created an error report that your can sent to us. This report will help us to improve "
        "the program and fix this error. No private data is being sent to Torvex."
    )
    assert controls[7, 148, 285, 1]["style"] & SS_SUNKEN


def test_upload_dialog_is_as_users_know_it(stage):
    controls = dialog_of(stage, 300, (300, 177))
    assert len(controls) == 8
    assert_shared_controls(controls)
    assert_button(controls[223, 156, 70, 14], 1, "Upload Report", default=True)
    assert_button(controls[148, 156, 70, 14], 2, "Close")
    assert controls[7, 150, 285, 1]["style"] & SS_SUNKEN
    text = controls[86, 47, 203, 96]
    assert text["id"] == 19001
    assert text["text"] == (
        "If you were in the middle of something, the information you were working on might be lost.\n\n"
        "Please tell Torvex about this problem.\n\nWe have created an error report that your can sent to "
        "us. This report will help us to improve the program and fix this error\u7C91\u4A39"
    )
    assert len(text["text"]) == 258


def test_dialogs_are_in_american_english(stage):
    told = stage.image("Wendax.dll").read("--coff-resources")
    dialogs = told[told.index("Type: DIALOG") :]
    found = re.findall(r"Name: \(ID (\d+)\).*?Language: \(ID (\d+)\)", dialogs, re.S)
    ours = [(number, language) for number, language in found if number in ("299", "300")]
    assert ours == [("299", str(0x0409)), ("300", str(0x0409))]


def test_icon_and_banner_are_there(stage):
    assert struct.unpack_from("<HHH", resource(stage, RT_ICON_GROUP, 128))[:2] == (0, 1)
    assert struct.unpack_from("<I", resource(stage, RT_BITMAP, 228))[0] == 40
