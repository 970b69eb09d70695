"""Reports that speak of the program that failed: what the record of Wendax.dll names, a user reads in both dialogs, in the
message and in what is uploaded."""

import shutil

import pytest

from testing import report_dialog
from testing.host import Host, redirect
from testing.picture import colours
from testing.processes import wait_until
from uploading import RUSSIAN, WESTERN, UploadDialog

NAMES = ("--product", "Fine Drawing", "--company", "Рога & Копыта", "--program", "draw.exe")
SORRY = " has encountered a problem and needs to close.  We are sorry for the inconvenience."
LOST = "If you were in the middle of something, the information you were working on might be lost."
CREATED = (
    "We have created an error report that your can sent to us. This report will help us to improve the program and fix"
)
EMAIL_TEXTS = [
    "Fine Drawing" + SORRY,
    LOST,
    "Please tell Рога && Копыта about this problem.",
    CREATED + " this error. No private data is being sent to Рога && Копыта.",
]
UPLOAD_TEXTS = [
    "Fine Drawing" + SORRY,
    f"{LOST}\n\nPlease tell Рога && Копыта about this problem.\n\n{CREATED} this error??",
]  # the two characters at the end get lost with Wine's making of the dialog, whatever it is called
FAILED = (
    "Ошибка передачи данных.\n\nПожалуйста подключитесь к сети Internet и разрешите программе draw.exe "
    "выход в сеть для соединения с сервером компании Рога && Копыта."
)


def shown_texts(stage, wine):
    """Of the dialog, in the order of its controls; without those of its buttons, which are short."""
    lines = wine.run(stage.product("dialog_probe.exe"), "all").text.splitlines()
    texts = [bytes.fromhex(line).decode("utf-16-be") for line in lines]
    return [text for text in texts if len(text) > 20]


def colours_in(window, picture, *places):
    """Of the picture's points, at these places in dialog units of the e-mail dialog, from its left upper corner."""
    points = ((window.x + x * window.width // 300, window.y + y * window.height // 173) for x, y in places)
    return colours(picture, *points)


class Email:
    def __init__(self, stage, program="fault_host.exe", locale=RUSSIAN, record=NAMES):
        self.stage = stage
        self.screen = stage.desktop(width=1024, height=768)
        self.host = Host(stage, program, helper="full", desktop=self.screen, locale=locale)
        redirect(self.host.folder / "Wendax.dll", *record)
        self.process = self.host.start("write")
        self.window = report_dialog.wait(self.screen)

    def picture(self, name):
        return self.screen.screenshot(self.stage.artifacts / f"{name}.png")

    def finish(self, button):
        report_dialog.press(self.screen, button)
        report_dialog.wait_closed(self.screen)
        assert self.process.wait_family() == 0


class Dialog(UploadDialog):
    def __init__(self, stage, program="upload_host.exe", record=NAMES):
        super().__init__(stage, program, record=record, folder=f"host {len(stage.desktops)}")

    def system_information(self):
        self.report.tell("system")
        return (self.wine.prefix.temp_dir / "system_info.txt").read_bytes()


class TestEmail:
    @pytest.mark.parametrize("locale", (WESTERN, RUSSIAN))
    def test_dialog_names_program_and_company_in_each_code_page(self, stage, locale):
        email = Email(stage, locale=locale)
        email.picture("dialog")
        assert shown_texts(stage, email.host.wine) == EMAIL_TEXTS
        email.finish("Don't Open & Close")

    def test_message_names_them(self, stage):
        email = Email(stage)
        application = email.host.folder / "draw.exe"
        shutil.copy(email.host.exe, application)
        email.finish("Open Error Report")
        (message,) = email.host.wait_messages(1)
        raw = message.raw.decode("cp1251")
        assert "\r\nSubject: Fine Drawing Error Report [Main]\r\n" in raw
        body = message.body.decode("cp1251")
        assert body.startswith("Fine Drawing has performed an illegal operation.")
        assert body.count("Рога & Копыта Support") == 2
        assert "Please note, that Fine Drawing has created a screenshot" in body
        assert "If you don't want to send screenshot to Рога & Копыта, delete file screen_copy.jpg" in body
        assert "Fine Drawing module info:\nCompany: " in body
        for built_in in ("Corrowfinder", "Torvex", "Lumivale"):
            assert built_in not in raw

    def test_dialog_shows_the_hosts_bitmap_where_it_is_told_to_and_there_is_one(self, stage):
        places = (40, 40), (40, 120)  # above and below in the bitmap
        seen = []
        for record, program in (
            (("--own-pictures", "yes"), "fault_host_with_icon.exe"),
            (("--own-pictures", "no"), "fault_host_with_icon.exe"),
            (("--own-pictures", "yes"), "fault_host.exe"),
        ):
            email = Email(stage, program, record=record)
            seen.append(colours_in(email.window, email.picture(f"banner-{len(seen)}"), *places))
            email.finish("Don't Open & Close")
        assert seen[0] == ["srgb(0,120,200)", "srgb(200,0,200)"]
        assert seen[1] == seen[2]
        assert not set(seen[0]) & set(seen[1])


class TestUpload:
    def test_dialog_and_request_name_them(self, stage):
        dialog = Dialog(stage)
        dialog.open()
        dialog.picture("start")
        assert shown_texts(stage, dialog.wine) == UPLOAD_TEXTS
        dialog.press("Upload Report")  # nobody listens
        shown = lambda: shown_texts(stage, dialog.wine)
        wait_until(lambda: shown()[1:] == [FAILED], "the failure to be told", seen=shown)
        dialog.picture("failed")
        assert dialog.upload_now().headers["user-agent"] == "Fine Drawing"

    def test_system_information_names_the_program(self, stage):
        dialog = Dialog(stage)
        assert dialog.system_information().endswith(b"\r\nCannot extract version number of Fine Drawing")
        shutil.copy(dialog.exe, dialog.folder / "draw.exe")
        assert b"\r\nFine Drawing module info:\r\nCompany: Unknown\r\n" in dialog.system_information()

    def test_dialog_shows_the_hosts_pictures_where_it_is_told_to(self, stage):
        places = (40, 40), (40, 120), (266, 18)
        of_host = ["srgb(0,120,200)", "srgb(200,0,200)", "srgb(0,192,0)"]
        for record in ("yes", "no"):
            dialog = Dialog(stage, "upload_host_with_icon.exe", ("--own-pictures", record))
            window = dialog.open()
            seen = colours_in(window, dialog.picture(f"pictures-{record}"), *places)
            assert seen == of_host if record == "yes" else not set(seen) & set(of_host), seen
            dialog.close()


class TestRecordThatIsDamaged:
    """Texts that have no end, or would be formats, are those built in; an address that has none reaches nobody."""

    def damage(self, dll, field, content):
        data = bytearray(dll.read_bytes())
        at = data.index(b"WENDAX REPORTS>\0") + {"server": 144, "product": 288, "company": 336, "program": 384}[field]
        data[at : at + len(content)] = content
        dll.write_bytes(data)

    def test_has_the_texts_that_are_built_in(self, stage):
        dialog = Dialog(stage, record=())
        dialog.report.end()
        for field, content in (("product", b"%s%n\0"), ("company", b"x" * 48), ("program", b"\1.exe\0")):
            self.damage(dialog.folder / "Wendax.dll", field, content)
        dialog.start()
        assert dialog.system_information().endswith(b"\r\nCannot extract version number of Lumivale")
        dialog.open()
        assert shown_texts(stage, dialog.wine)[0] == "The program" + SORRY
        dialog.close()

    def test_without_an_address_fails(self, stage):
        dialog = Dialog(stage, record=())
        dialog.report.end()
        for content in (b"\xff" * 128, b"ftp://127.0.0.1/\0", b"\0"):
            self.damage(dialog.folder / "Wendax.dll", "server", content)
            assert dialog.start().tell("upload") == "failed"
            dialog.report.end()
