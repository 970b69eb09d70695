// The application framework's header for extension modules.
#pragma once

#include "mfc/afxwin.h"
