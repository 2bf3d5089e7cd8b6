// CUPS for the printer and the job, a cairo PDF surface for the page.
#include <cairo-pdf.h>
#include <cups/cups.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "drawos.h"
#include "printos.h"

namespace printos {

bool FindDestination(const char* name, Destination* out) {
    cupsSetServer(nullptr);  // CUPS_SERVER and the client configuration as they are now
    cups_dest_t* dest =
        cupsGetNamedDest(CUPS_HTTP_DEFAULT, name && *name ? name : nullptr, nullptr);
    if (!dest) return false;
    snprintf(out->name, sizeof(out->name), "%s", dest->name);
    out->dpi = 600;
    out->widthPt = 595.2756;  // A4: 210 x 297 mm
    out->heightPt = 841.8898;
    if (cups_dinfo_t* info = cupsCopyDestInfo(CUPS_HTTP_DEFAULT, dest)) {
        if (ipp_attribute_t* res =
                cupsFindDestDefault(CUPS_HTTP_DEFAULT, dest, info, "printer-resolution")) {
            int y;
            ipp_res_t units;
            const int x = ippGetResolution(res, 0, &y, &units);
            if (x > 0) out->dpi = units == IPP_RES_PER_INCH ? x : x * 254 / 100;
        }
        cups_size_t size;
        if (cupsGetDestMediaDefault(CUPS_HTTP_DEFAULT, dest, info, 0, &size) && size.width > 0 &&
            size.length > 0) {
            out->widthPt = size.width * 72.0 / 2540;
            out->heightPt = size.length * 72.0 / 2540;
        }
        cupsFreeDestInfo(info);
    }
    cupsFreeDests(1, dest);
    return true;
}

QDDC OpenPage(const Destination& dest, char* file, int capacity) {
    const char* tmp = getenv("TMPDIR");
    if (snprintf(file, static_cast<size_t>(capacity), "%s/qdprint-XXXXXX",
                 tmp && *tmp ? tmp : "/tmp") >= capacity)
        return nullptr;
    const int fd = mkstemp(file);
    if (fd < 0) return nullptr;
    close(fd);
    cairo_surface_t* surface = cairo_pdf_surface_create(file, dest.widthPt, dest.heightPt);
    cairo_t* dc = cairo_create(surface);
    cairo_surface_destroy(surface);
    drawos::DcState* state = drawos::State(dc);
    if (!state) {
        cairo_destroy(dc);
        unlink(file);
        return nullptr;
    }
    state->dpi = dest.dpi;
    cairo_scale(dc, 72.0 / dest.dpi, 72.0 / dest.dpi);
    return dc;
}

bool SendPage(QDDC dc, const Destination& dest, const char* file, const char* title) {
    cairo_show_page(dc);
    cairo_surface_finish(cairo_get_target(dc));
    const bool drawn = cairo_surface_status(cairo_get_target(dc)) == CAIRO_STATUS_SUCCESS;
    cairo_destroy(dc);
    const bool sent = drawn && cupsPrintFile(dest.name, file, title, 0, nullptr) > 0;
    unlink(file);
    return sent;
}

void DiscardPage(QDDC dc, const char* file) {
    cairo_surface_finish(cairo_get_target(dc));
    cairo_destroy(dc);
    unlink(file);
}

}  // namespace printos
