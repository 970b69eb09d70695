"""What composing a message with a large attachment takes, and that the message is right."""

import base64
import email
import email.policy
import random

MIB = 1 << 20
SEPARATOR = b"------=_NextPart_000_023D_01C25DB8.8402B210\r\n"


def compose(stage, *files):
    """The message, and what it took."""
    wine = stage.wine()
    message = stage.artifacts / "message.eml"
    paths = [wine.prefix.to_windows(path) for path in (message, *files)]
    result = wine.run(stage.product("compose_cost_host.exe"), *paths, check=True)
    cost = {name: float(value) for name, value in (line.split(": ") for line in result.text.splitlines())}
    print(result.text)
    return message.read_bytes(), cost


def random_file(stage, name, size):
    path = stage.artifacts / name
    path.write_bytes(random.Random(size).randbytes(size))
    return path


def assert_memory(message, cost, times):
    """At most so many times the message was in memory, the attachment's view included."""
    for kind in ("working set", "private"):
        used = cost[f"written {kind}"] - cost[f"before {kind}"]
        print(f"{kind}: {used / len(message):.2f} times the message")
        assert used < times * len(message)


def test_large_attachment_of_64_MiB_costs_less_than_two_messages_and_arrives_whole(stage):
    file = random_file(stage, "large.bin", 64 * MIB)
    message, cost = compose(stage, file)
    assert len(message) > 64 * MIB * 4 // 3
    assert_memory(message, cost, 1.9)
    part = message.split(SEPARATOR)[2]
    header, body = part.split(b"\r\n\r\n", 1)
    assert b'filename="large.bin"' in header
    assert base64.b64decode(body.rstrip(b"\r\n=") + b"==") == file.read_bytes()


def test_large_attachment_beside_another_costs_less_than_two_messages_too(stage):
    message, cost = compose(stage, random_file(stage, "one.bin", 32 * MIB), random_file(stage, "two.bin", 32 * MIB + 1))
    assert_memory(message, cost, 1.9)
    parsed = email.message_from_bytes(message, policy=email.policy.default)
    sizes = [len(part.get_payload(decode=True)) for part in parsed.walk() if part.get_filename()]
    assert sizes == [32 * MIB, 32 * MIB + 1]
