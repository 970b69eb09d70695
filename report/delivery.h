// What hosts ask for by include/wendax_delivery.h, for the upload report.
#pragma once

namespace report {

// The folder of reports that couldn't be sent, as a full path; "" for none.
const wchar_t* unsent_folder();

} // namespace report
