#pragma once

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelPixelRows.h"
#include "QelRectBuffer.h"

// How operations reach the elements of buffers.

// Is `type` one of the eight numeric types?
bool qelIsNumber(QelDataType type);

// The status of an operation, called `op`, that cannot work on elements of `type`:
// unsupportedDataType (118).
ZanError qelUnsupported(QelDataType type, char const * op);

// The code of the element type of `report`. Raises nullPointer (4) for a null buffer and for one
// without organisation, wrongPixelFormat (119) when it has another element type or number of bands,
// simpleDataOrgNeeded (150) when its organisation is not a QelSimpleDataOrg.
int qelCheckTarget(QelRectBuffer const * buffer, QelImageInfo const & report);

// The tile of `image` that holds all of `rect`, if it exists and is complete; else null.
MoxSmartPtr<QelTile> qelCompleteTile(Qel2DImage & image, QelRect const & rect);

// Calls use(rows, spread) for the elements of `rect` in both buffers, which have the same element
// type and number of bands and hold all of `rect`: once for all bands where these lie side by
// side in both, else once for each band. `spread` is the number of elements from a pixel to the
// next.
template <class Use>
void qelEachBand(QelRectBuffer const & source, QelRectBuffer & target, QelRect const & rect,
                 Use const & use);

// ---- Implementation

// The bands of two buffers, in step.
struct QelBandPair {
    QelBandPair(QelRectBuffer const & source, QelRectBuffer & target, QelRect const & rect);

    bool sideBySide() const;
    QelPixelRows together() const;
    QelPixelRows band(int index) const;

    QelSimpleDataOrg const * sourceOrg;
    QelSimpleDataOrg const * targetOrg;
    QelPixelRows pixels;
    int bands;
    std::int32_t elementSize;
};

template <class Use>
void qelEachBand(QelRectBuffer const & source, QelRectBuffer & target, QelRect const & rect,
                 Use const & use) {
    QelBandPair const pair(source, target, rect);
    if (pair.sideBySide()) {
        use(pair.together(), pair.bands);
        return;
    }
    for (int band = 0; band < pair.bands; ++band)
        use(pair.band(band), 1);
}
