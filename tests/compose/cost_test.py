"""What composing a message with a large attachment takes, and that the message is right."""

import base64
import email
import email.policy
import random

from testing.runner import Case

MIB = 1 << 20
SEPARATOR = b"------=_NextPart_000_023D_01C25DB8.8402B210\r\n"


class ALargeAttachment(Case):
    def compose(self, *files):
        wine = self.wine()
        message = self.artifacts / "message.eml"
        paths = [wine.prefix.to_windows(path) for path in (message, *files)]
        result = wine.run(self.product("compose_cost_host.exe"), *paths, check=True)
        self.cost = {name: float(value) for name, value in (line.split(": ") for line in result.text.splitlines())}
        print(result.text)
        return message.read_bytes()

    def file(self, name, size):
        path = self.artifacts / name
        path.write_bytes(random.Random(size).randbytes(size))
        return path

    def assert_memory(self, message, times):
        """At most so many times the message was in memory, the attachment's view included."""
        for kind in ("working set", "private"):
            used = self.cost[f"written {kind}"] - self.cost[f"before {kind}"]
            print(f"{kind}: {used / len(message):.2f} times the message")
            self.assertLess(used, times * len(message))

    def test_of_64_MiB_costs_less_than_two_messages_and_arrives_whole(self):
        file = self.file("large.bin", 64 * MIB)
        message = self.compose(file)
        self.assertGreater(len(message), 64 * MIB * 4 // 3)
        self.assert_memory(message, 1.9)
        part = message.split(SEPARATOR)[2]
        header, body = part.split(b"\r\n\r\n", 1)
        self.assertIn(b'filename="large.bin"', header)
        self.assertEqual(base64.b64decode(body.rstrip(b"\r\n=") + b"=="), file.read_bytes())

    def test_beside_another_costs_less_than_two_messages_too(self):
        message = self.compose(self.file("one.bin", 32 * MIB), self.file("two.bin", 32 * MIB + 1))
        self.assert_memory(message, 1.9)
        parsed = email.message_from_bytes(message, policy=email.policy.default)
        sizes = [len(part.get_payload(decode=True)) for part in parsed.walk() if part.get_filename()]
        self.assertEqual(sizes, [32 * MIB, 32 * MIB + 1])
