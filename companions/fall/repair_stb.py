"""Writes a copy of stb_image.h that checks what some of its releases take from damaged files on trust, or of
stb_image_write.h that rounds fast.

    repair_stb.py INPUT OUTPUT

Each repair names the text it replaces and what newer releases may have in its place. When the header holds neither,
it has changed in a way that somebody must look at: the build stops."""

import pathlib
import sys

# (what goes wrong, the text, its replacement, what tells that the header needs no repair)
READER = [
    ("more than 256 codes in a Huffman table of a JPEG run over the end of the table",
     "               n += sizes[i];\n            }\n            L -= 17;\n",
     "               n += sizes[i];\n            }\n            if(n > 256) return 0;\n            L -= 17;\n",
     "if(n > 256)"),
    ("a run of no pixels in an HDR file that ends there is read again and again",
     "                  // Dump\n                  if (count > nleft) {",
     "                  // Dump\n                  if ((count == 0) || (count > nleft)) {",
     "(count == 0) || (count > nleft)"),
] + [
    ("a colour below its white matte in a PSD wraps to a bright one",
     f"               pixel[{i}] = (unsigned char) (pixel[{i}]*ra + inv_a);\n",
     f"               pixel[{i}] = stbi__clamp((int) (pixel[{i}]*ra + inv_a));\n",
     f"pixel[{i}] = stbi__clamp(")
    for i in range(3)
]
WRITER = [
    # On the x87 a cast switches the rounding mode forth and back, which took most of the time to write a JPEG, and up
    # to twenty times that, depending on where the stack happened to lie.
    ("each coefficient of a JPEG is rounded by a cast",
     "= (int)(v < 0 ? v - 0.5f : v + 0.5f);",
     "= (int)lrintf(v);",
     "lrintf"),
]


def main():
    source, target = sys.argv[1:]
    repairs = WRITER if pathlib.Path(source).name == "stb_image_write.h" else READER
    with open(source, encoding="utf-8") as file:
        text = file.read()
    for wrong, old, new, sound in repairs:
        if sound in text:
            continue
        if text.count(old) != 1:
            sys.exit(f"{source}: unknown release of the header; check this: {wrong}")
        text = text.replace(old, new)
    with open(target, "w", encoding="utf-8") as file:
        file.write(text)


if __name__ == "__main__":
    main()
