// The application framework's header for extension modules.
#pragma once

#include "mfc/afx_module.h"
