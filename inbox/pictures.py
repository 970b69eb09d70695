"""Shows a client's picture without passing on a byte of it: it is decoded within bounds and encoded anew."""

import io
import threading
import warnings

from PIL import Image

MOST_PIXELS, MOST_BYTES = 40_000_000, 32 << 20
_ONE_AT_A_TIME = threading.BoundedSemaphore(1)


def reencoded(content, widest=1600):
    """PNG bytes, or None where there is no picture within the bounds."""
    if len(content) > MOST_BYTES:
        return None
    with _ONE_AT_A_TIME, warnings.catch_warnings():
        warnings.simplefilter("error")
        try:
            with Image.open(io.BytesIO(content), formats=("JPEG", "PNG", "BMP", "GIF")) as picture:
                if picture.width * picture.height > MOST_PIXELS:
                    return None
                picture.draft("RGB", (widest, widest))
                plain = picture.convert("RGB")
            plain.thumbnail((widest, widest))
            made = io.BytesIO()
            plain.save(made, "PNG")
            return made.getvalue()
        except Exception:  # whatever a decoder says about hostile bytes
            return None
