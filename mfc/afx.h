// The application framework's core header: the subset of its classes that this library uses, under the framework's own
// names, so that a build with the genuine framework only changes the include path.
#pragma once

#include "mfc/afx_exception.h"
#include "mfc/afx_file.h"
#include "mfc/afx_object.h"
#include "mfc/afx_string.h"
#include "mfc/afx_time.h"
