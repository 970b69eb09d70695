/** @file wendax_error.h
 * What the classes of wendax.h and the library's own containers throw. Knows no Windows.
 */
#ifndef WENDAX_ERROR_H
#define WENDAX_ERROR_H

namespace gen {

/** What a member of the two classes throws; each says whether it does. Never thrown itself, only the two below. Catch
 * it by reference: such an exception owns no memory. OpenCrushReport() and the other functions let none out. */
class genlib_error {
protected:
    genlib_error() {}
};

/** Memory is gone. The report is as it was before the call, or lacks what the call should have added. */
class genlib_out_of_memory : public genlib_error {
public:
    genlib_out_of_memory() {}
};

/** A place within a list or text that doesn't exist. */
class genlib_out_of_range : public genlib_error {
public:
    /** @cond */
    genlib_out_of_range(unsigned int wanted, unsigned int present) : index(wanted), size(present) {}
    /** @endcond */

    unsigned int index; /**< the place that was wanted */
    unsigned int size;  /**< how many there are */
};

} // namespace gen

#endif /* WENDAX_ERROR_H */
