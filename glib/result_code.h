/* The answers of the imaging layer's operations and of the format modules, as four-character codes. C and C++. */
#ifndef GLIB_RESULT_CODE_H
#define GLIB_RESULT_CODE_H

/* A 32-bit code whose first character is the most significant byte. */
#define GLIB_CODE(a, b, c, d) (((a) << 24) | ((b) << 16) | ((c) << 8) | (d))

#ifdef __cplusplus
namespace glib {
#endif

/* RCOK and OKAF are successes, every other code a failure that left the document as it was. */
typedef enum ResultCode {
    RCOK = GLIB_CODE('R', 'C', 'O', 'K'), /* success */
    OKAF = GLIB_CODE('O', 'K', 'A', 'F'), /* loaded what could be saved of a damaged file: the pages given are good */
    IERR = GLIB_CODE('I', 'E', 'R', 'R'), /* internal error: a file that can't be opened, a failed system call */
    UNSF = GLIB_CODE('U', 'N', 'S', 'F'), /* no module serves the format, or no module knows the data */
    NSUP = GLIB_CODE('N', 'S', 'U', 'P'), /* the format's module has no such operation, or not for this kind of image */
    BADA = GLIB_CODE('B', 'A', 'D', 'A'), /* bad argument */
    BADI = GLIB_CODE('B', 'A', 'D', 'I'), /* bad image data: damaged, cut off, or refused as hostile */
    BADT = GLIB_CODE('B', 'A', 'D', 'T'), /* bad type: the data is not of the asked format */
    DISF = GLIB_CODE('D', 'I', 'S', 'F'), /* the format is disabled */
    CFLT = GLIB_CODE('C', 'F', 'L', 'T'), /* the format module failed */
    OMEM = GLIB_CODE('O', 'M', 'E', 'M'), /* out of memory, or beyond the page limits of the module contract */
    USRA = GLIB_CODE('U', 'S', 'R', 'A'), /* stopped by the user through the progress callback */
    MISS = GLIB_CODE('M', 'I', 'S', 'S'), /* the resource or page doesn't exist */
    TMNS = GLIB_CODE('T', 'M', 'N', 'S')  /* the file holds no thumbnail */
} ResultCode;

#ifdef __cplusplus
constexpr bool succeeded(ResultCode code) {
    return code == RCOK || code == OKAF;
}

static_assert(RCOK == 0x52434F4B, "the first character is the most significant byte");
} // namespace glib
#endif

#endif
