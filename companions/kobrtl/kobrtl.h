// KOBRTL.dll: the runtime library beneath the imaging layer. It is loaded with the program that is linked against it,
// answers with 1 or 0 (never an exception), and needs nothing but kernel32, user32 and msvcrt.
#ifndef WENDAX_COMPANIONS_KOBRTL_KOBRTL_H
#define WENDAX_COMPANIONS_KOBRTL_KOBRTL_H

// Only a Visual C++ program imports. The same sources built by another compiler are linked in: define nothing.
#if defined(_MSC_VER) && !defined(KOBRTL_STATIC)
#define KOBRTL_API __declspec(dllimport)
#else
#define KOBRTL_API
#endif

#if defined(_WIN32)
#define KOBRTL_CDECL __cdecl
#else
#define KOBRTL_CDECL
#endif

struct HWND__;

namespace glib {

// The resampler. An object names a source picture, which it neither owns nor changes; the pixels must live as long as
// the object is used. Any number of threads may use different objects, or one object with different destinations.
//
//     glib::Scale scale(pixels, 1920, 1080, 5760, 24, 0, 0);
//     ... get memory for a 512 x 512 picture of scale.CalcDestBpp(glib::Scale::Area) bits per pixel ...
//     if (!scale.ScaleTo(smaller, 512, 512, 1536, glib::Scale::Area))
//         ... bad argument or out of memory, nothing usable was written ...
//
// Pixels of 24 bits are three bytes in any order; of 32 bits the same and then an opacity (255 = opaque), by which the
// colours are weighted, so that transparent pixels lend their colour to nobody. Pixels of 1, 4 and 8 bits are indices,
// the leftmost pixel in the highest bits. A row may begin at any address.
class KOBRTL_API Scale {
public:
    enum Type {
        Nearest = 0, // the pixel nearest to the centre: every depth and palette stays as it is
        Area = 1,    // the best: each axis that shrinks by the Mitchell filter widened to cover the whole source area,
                     // each axis that grows by Catmull-Rom; the values may swing a little at hard edges
        Linear = 2,  // the triangle filter, widened likewise when shrinking: softer, and never swings
    };

    enum { MaxSize = 65535 }; // the greatest width and height of a source or a destination

    // rows: the picture's top row; stride: bytes from one row to the row below it, negative for a picture that is kept
    // bottom-up, at least as far as a row is long. bpp: 1, 4, 8, 24 or 32.
    // palette: for 1, 4 and 8 bits, colours entries of four bytes: three as in a 24-bit pixel, and a fourth that is an
    // opacity if it is not the same in all entries, and is ignored otherwise. Indices beyond it are black. Null:
    // indices are greys from black to white. A picture that breaks these rules is remembered as one that can't be
    // scaled.
    Scale(const void* rows, unsigned width, unsigned height, int stride, unsigned bpp, const void* palette,
          unsigned colours);

    // Bits per pixel that ScaleTo writes: the source's own for Nearest, and where that is 24 or 32. Else, for indices:
    // 8 if the palette is null or the 256 greys in order (the result then has the same greys), 32 if it has opacities,
    // 24 in all other cases. 0: the picture or the type is no good.
    unsigned CalcDestBpp(int type) const;

    // Writes the whole picture in the size width x height to rows, whose meaning and stride are those of the
    // constructor; bytes between the end of a row and the next row stay as they are. Source and destination may not
    // overlap. Returns 1, or 0 for a bad picture, type, size or stride, or when memory is gone.
    // Takes memory for the weights and a narrow stripe of the source, never for a whole picture.
    int ScaleTo(void* rows, unsigned width, unsigned height, int stride, int type) const;

private:
    const unsigned char* m_rows;
    const unsigned char* m_palette;
    unsigned m_width;
    unsigned m_height;
    int m_stride;
    unsigned m_bpp; // 0: can't be scaled
    unsigned m_colours;
};

} // namespace glib

// Shows a message box and waits for its answer. owner may be null; flags are those of MessageBox (0x10 = error icon,
// one OK button); text is format with its arguments as in printf, of any length. The title is the owner's, or the name
// of the running program. Returns the number of the button that was pressed, 0 if no box could be shown.
KOBRTL_API int KOBRTL_CDECL MsgBox(HWND__* owner, unsigned flags, const char* format, ...);

#endif
