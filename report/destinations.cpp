#include "report/destinations.h"

// A file of its own, so that the compiler can't copy the texts into the code that uses them.
const Destinations destinations = {"WENDAX REPORTS>", WENDAX_SUPPORT_ADDRESS, WENDAX_UPLOAD_SERVER};
