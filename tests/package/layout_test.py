"""The classes of the public header are those of the library."""


def test_public_header_and_library_agree_on_the_report_classes(stage):
    done = stage.wine().run(stage.product("layout_host.exe"), check=True)
    assert done.text == "compared 14\n"
