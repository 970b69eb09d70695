"""What composing a message with a large attachment takes, and that the message is right."""

import base64
import email
import email.policy
import random

MIB = 1 << 20
SEPARATOR = b"------=_NextPart_000_023D_01C25DB8.8402B210\r\n"


def compose(stage, *files):
    """The message, and the peaks of memory that it took."""
    wine = stage.wine()
    message = stage.artifacts / "message.eml"
    paths = [wine.prefix.to_windows(path) for path in (message, *files)]
    result = wine.run(stage.product("compose_cost_host.exe"), *paths, check=True)
    lines = (line.split(": ") for line in result.text.splitlines())
    return message.read_bytes(), {name: int(peak) for name, peak in lines}


def random_file(stage, name, size):
    path = stage.artifacts / name
    path.write_bytes(random.Random(size).randbytes(size))
    return path


def assert_less_than_two(message, peaks):
    """Messages were in memory, the attachment's view included."""
    for kind in ("working set", "private"):
        assert peaks[f"after {kind}"] - peaks[f"before {kind}"] < 1.9 * len(message), kind


def test_large_attachment_of_64_MiB_costs_less_than_two_messages_and_arrives_whole(stage):
    file = random_file(stage, "large.bin", 64 * MIB)
    message, peaks = compose(stage, file)
    assert len(message) > 64 * MIB * 4 // 3
    assert_less_than_two(message, peaks)
    part = message.split(SEPARATOR)[2]
    header, body = part.split(b"\r\n\r\n", 1)
    assert b'filename="large.bin"' in header
    assert base64.b64decode(body.rstrip(b"\r\n=") + b"==") == file.read_bytes()


def test_large_attachment_beside_another_costs_less_than_two_messages_too(stage):
    files = [random_file(stage, *named) for named in (("one.bin", 32 * MIB), ("two.bin", 32 * MIB + 1))]
    message, peaks = compose(stage, *files)
    assert_less_than_two(message, peaks)
    parsed = email.message_from_bytes(message, policy=email.policy.default)
    sizes = [len(part.get_payload(decode=True)) for part in parsed.walk() if part.get_filename()]
    assert sizes == [32 * MIB, 32 * MIB + 1]
