"""Writes a copy of stb_image.h that checks what some of its releases take from damaged files on trust.

    repair_stb.py INPUT OUTPUT

Each repair names the text it replaces and a check that newer releases have of their own. When the header holds neither,
it has changed in a way that somebody must look at: the build stops."""

import sys

# (what goes wrong, the text, its replacement, what tells that the header needs no repair)
REPAIRS = [
    ("more than 256 codes in a Huffman table of a JPEG run over the end of the table",
     "               n += sizes[i];\n            }\n            L -= 17;\n",
     "               n += sizes[i];\n            }\n            if(n > 256) return 0;\n            L -= 17;\n",
     "if(n > 256)"),
] + [
    ("a colour below its white matte in a PSD wraps to a bright one",
     f"               pixel[{i}] = (unsigned char) (pixel[{i}]*ra + inv_a);\n",
     f"               pixel[{i}] = stbi__clamp((int) (pixel[{i}]*ra + inv_a));\n",
     f"pixel[{i}] = stbi__clamp(")
    for i in range(3)
]


def main():
    source, target = sys.argv[1:]
    with open(source, encoding="utf-8") as file:
        text = file.read()
    for wrong, old, new, sound in REPAIRS:
        if sound in text:
            continue
        if text.count(old) != 1:
            sys.exit(f"{source}: unknown release of the header; check this: {wrong}")
        text = text.replace(old, new)
    with open(target, "w", encoding="utf-8") as file:
        file.write(text)


if __name__ == "__main__":
    main()
