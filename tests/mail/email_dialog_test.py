"""The e-mail dialog on screen, answered with the pointer."""

import pathlib
import re
import time

from testing import report_dialog


def cpu_ticks(pid):
    """The processor time of a process so far, in clock ticks."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return int(fields[11]) + int(fields[12])


def icon_is_the_hosts(scene):
    """It is a green one in the host that has one."""
    return re.search(r"\(0,192,0\)", report_dialog.icon_colour(scene.screen, scene.stage.artifacts / "icon.png"))


def test_open_button_opens_the_message_and_the_host_goes_on(scene, stage):
    scene.start("write")
    scene.screen.screenshot(stage.artifacts / "dialog.png")
    report_dialog.press(scene.screen, "Open Error Report")
    report_dialog.wait_closed(scene.screen)
    assert len(scene.host.wait_messages(1)) == 1
    assert scene.goes_on()


def test_decline_button_makes_no_message(scene):
    scene.start("write")
    report_dialog.press(scene.screen, "Don't Open & Close")
    report_dialog.wait_closed(scene.screen)
    assert scene.goes_on()
    assert scene.host.opened() == []
    assert scene.host.messages_in_temp() == []


def test_close_box_declines(scene):
    window = scene.start("write")
    scene.screen.close_window(window)
    report_dialog.wait_closed(scene.screen)
    assert scene.goes_on()
    assert scene.host.opened() == []


def test_menu_of_the_window_is_at_the_keyboard_and_closes_it(scene):
    window = scene.start("write")
    scene.screen.activate(window)
    report_dialog.close_by_keys(scene.screen, "alt+space", "c")
    assert scene.goes_on()
    assert scene.host.opened() == []


def test_dialog_stands_in_the_middle_of_the_work_area_and_uses_no_processor_while_it_waits(scene):
    window = scene.start("write", size=(1024, 768))
    # The window's inside; the frame is a little wider than it and its title bar stands above.
    assert abs(window.x + window.width / 2 - 512) <= 8
    assert abs(window.y + window.height / 2 - 384) <= 24

    def worked():
        before = cpu_ticks(scene.process.pid)
        time.sleep(1)  # a stretch of time to measure over, not a wait for something
        return cpu_ticks(scene.process.pid) - before

    # A loop that spins takes a hundred ticks a second; one that waits takes none.
    assert min(worked() for _ in range(3)) <= 5
    scene.decline(window)


def test_icon_of_the_host_is_shown_by_each_report(scene):
    scene.start("write", "divide", program="fault_host_with_icon.exe")
    assert icon_is_the_hosts(scene)
    report_dialog.press(scene.screen, "Open Error Report")
    scene.host.wait_messages(1)
    assert icon_is_the_hosts(scene)
    scene.decline()


def test_host_without_an_icon_leaves_the_templates(scene):
    scene.start("write")
    assert not icon_is_the_hosts(scene)
    scene.decline()
