"""What another program says of a picture."""

import subprocess


def described(path, form):
    """The facts that ImageMagick's escapes name: %m format, %w and %h size, %Q quality..."""
    return subprocess.run(
        ["identify", "-format", form, path], check=True, capture_output=True, text=True, timeout=60
    ).stdout
