// A file of its own, compiled without link-time optimisation, so that no copy of the texts gets into the code that uses
// them.
#include "report/destinations.h"

#include "destination_settings.h"

const Destinations kDestinations = {
    "WENDAX REPORTS>", WENDAX_SUPPORT_ADDRESS, WENDAX_UPLOAD_ADDRESS, "WENDAX LAYOUT 2", WENDAX_PRODUCT,
    WENDAX_COMPANY,    WENDAX_HOST_PROGRAM,    WENDAX_OWN_PICTURES,   WENDAX_PROXY,      {}};
