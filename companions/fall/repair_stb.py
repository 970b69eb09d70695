"""Writes a copy of stb_image.h that checks what its release takes from damaged files on trust, or of stb_image_write.h
that rounds fast.

    repair_stb.py INPUT OUTPUT

The headers' bytes decide fall.dll's, so the releases are pinned: at another one the build stops, and somebody must look
through what has changed, at the repairs too, before its hash is named here."""

import hashlib
import pathlib
import sys

# The headers of Debian 12's libstb-dev, by SHA-256.
PACKAGE = "libstb-dev 0.0~git20220908.8b5f1f3"
PINNED = {
    "stb_image.h": "91f435e0fc6a620018b878b9859c74dff60d28046f87e649191ad6f35a98c722",
    "stb_image_write.h": "cbd5f0ad7a9cf4468affb36354a1d2338034f2c12473cf1a8e32053cb6914a05",
}
# (what goes wrong, the text, its replacement)
REPAIRS = {
    "stb_image.h": [
        (
            "more than 256 codes in a Huffman table of a JPEG run over the end of the table",
            "               n += sizes[i];\n            }\n            L -= 17;\n",
            "               n += sizes[i];\n            }\n            if(n > 256) return 0;\n            L -= 17;\n",
        ),
        (
            "a run of no pixels in an HDR file that ends there is read again and again",
            "                  // Dump\n                  if (count > nleft) {",
            "                  // Dump\n                  if ((count == 0) || (count > nleft)) {",
        ),
    ]
    + [
        (
            "a colour below its white matte in a PSD wraps to a bright one",
            f"               pixel[{i}] = (unsigned char) (pixel[{i}]*ra + inv_a);\n",
            f"               pixel[{i}] = stbi__clamp((int) (pixel[{i}]*ra + inv_a));\n",
        )
        for i in range(3)
    ],
    "stb_image_write.h": [
        # On the x87 a cast switches the rounding mode forth and back, which took most of the time to write a JPEG, and
        # up to twenty times that, depending on where the stack happened to lie.
        (
            "each coefficient of a JPEG is rounded by a cast",
            "= (int)(v < 0 ? v - 0.5f : v + 0.5f);",
            "= (int)lrintf(v);",
        ),
    ],
}


def main():
    source, target = map(pathlib.Path, sys.argv[1:])
    content = source.read_bytes()
    found, pinned = hashlib.sha256(content).hexdigest(), PINNED[source.name]
    if found != pinned:
        sys.exit(
            f"{source} is not the release that fall.dll is built from ({PACKAGE}): its SHA-256 is {found} instead of "
            f"{pinned}. Install that release, or look through what has changed and pin the new one in {__file__}."
        )
    text = content.decode("utf-8")
    for wrong, old, new in REPAIRS[source.name]:
        if text.count(old) != 1:
            sys.exit(f"{source}: the text of this repair isn't there once: {wrong}")
        text = text.replace(old, new)
    target.write_text(text, "utf-8")


if __name__ == "__main__":
    main()
