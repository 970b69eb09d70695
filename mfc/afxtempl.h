// The application framework's collection templates.
#pragma once

#include "mfc/afx_array.h"
