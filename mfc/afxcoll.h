// The application framework's ready-made collections.
#pragma once

#include "mfc/afxtempl.h"

class CByteArray : public CArray<BYTE, BYTE> {};
