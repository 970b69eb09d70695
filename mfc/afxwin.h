// The application framework's window header: module state, the file finder and the wait cursor.
#pragma once

#include <afx.h>
#include "mfc/afx_file_find.h"
#include "mfc/afx_module.h"
#include "mfc/afx_wait_cursor.h"
