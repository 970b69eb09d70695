"""What tests, demonstrations and benchmarks stand on: a private desktop, Wine with a watchdog, hosts of the library.

    def test_closes_at_a_click(stage):
        desktop = stage.desktop()
        host = stage.wine(desktop).start(stage.product("host.exe"))
        dialog = desktop.wait_window("Error report")
        desktop.click_window(dialog, 40, 20)
        assert host.wait() == 0

Everything here needs scripts/setup to have run. pytest drives the tests (tests/conftest.py has the fixtures).
"""
