// What the image document and the format modules share while an image is read or written.
#pragma once

#include "base/array_ptr.h"
#include "glib/module_contract.h"
#include "glib/raster.h"

namespace glib {

// Receives a module's progress.
class ProgressSink {
public:
    // False: stop. Must not throw.
    virtual bool OnModuleProgress(uint32_t step, uint32_t total) = 0;

protected:
    ~ProgressSink() = default;
};

// Modules see its pages through the services of the module contract alone.
struct ImageDataExchange {
    explicit ImageDataExchange(ProgressSink* sink = nullptr) : progress(sink) {}

    // Makes a page of its own; null beyond a limit of the module contract, for a bad argument or without memory.
    IDEPage* AddPage(uint32_t width, uint32_t height, uint32_t bits_per_pixel);
    // Adds a page that shows pixels of the caller's, which must outlive the exchange.
    void AddView(Raster& raster);
    // Removes all pages.
    void Clear();

    // Gives away the pixels of page i that AddPage made, with the palette index that its module has declared
    // transparent. Whatever else the module wrote into the page's record does not count.
    Raster TakeRaster(unsigned i);

    gen::array_ptr<IDEPage> pages;
    gen::array_ptr<Raster> rasters; // the pixels of the pages that AddPage made, in the same order
    uint64_t bytes = 0;             // of all those pixels
    ProgressSink* progress;         // may be null
};

// The service callbacks that every module is given. None throws.
const ModuleServices& module_services();

} // namespace glib
