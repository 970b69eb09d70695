// For tests that flatten pages: while it lives, pictures can be drawn.
#pragma once

#ifdef _WIN32
#include "glib/gdiplus_init.h"

struct DrawingPeriod {
    DrawingPeriod() { glib::gdiplus_switch(true); }
    ~DrawingPeriod() { glib::gdiplus_switch(false); }
};
#else
struct DrawingPeriod { // gdiplus_stand_in.cpp always draws
    DrawingPeriod() {}
};
#endif
