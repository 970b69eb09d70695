"""What another program says of a picture."""

import subprocess


def described(path, form):
    """The facts that ImageMagick's escapes name: %m format, %w and %h size, %Q quality..."""
    command = ["identify", "-format", form, path]
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=60).stdout


def colours(path, *places):
    """Of these points, as ImageMagick writes them."""
    return described(path, "".join(f"%[pixel:p{{{x},{y}}}]\n" for x, y in places)).split()
