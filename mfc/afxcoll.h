// The application framework's ready-made collections.
#pragma once

#include "mfc/afx_array.h"
