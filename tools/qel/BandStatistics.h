#pragma once

#include <vector>

#include "QelClients.h"

// Statistics of the elements of one band. The deviation is that of these elements, not an estimate
// for others: the root of the mean square of their distances from the mean.
struct BandStatistics {
    double minimum = 0.0;
    double maximum = 0.0;
    double mean = 0.0;
    double standardDeviation = 0.0;
};

// For each band of a part of an image, which is pulled one tile at a time and need not fit into
// memory. Elements of up to 16 bits are summed exactly, however many there are; all others by
// Welford's running mean. In a band of reals that holds a NaN, the mean and the deviation are NaN;
// the extremes are those of the other elements.
//
// Raises invalidValue (13) for a region that is empty or not entirely in the image,
// unsupportedDataType (118) for an image whose bands are of several types, simpleDataOrgNeeded
// (150) for one whose organisation is not a QelSimpleDataOrg, and what computing the image raises.
std::vector<BandStatistics> bandStatistics(Qel2DImage & image, QelRect const & region);
