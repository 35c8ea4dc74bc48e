// Which minutiae of a view stay, and in which order: prunes to those nearest to the
// centroid of all, and sorts as card profiles ask. All in whole numbers.
#pragma once

#include <cstdint>
#include <vector>

#include "vxmrecords.h"

namespace vxr {

// Squared distances of minutiae from their centroid, each times the square of their
// number. Coordinates are below 2^14 and there are fewer than 2^16 of them, so it fits.
std::vector<uint64_t> CentroidDistances(const std::vector<VXR_Minutia>& minutiae);

// Of the indices the `count` with the smallest keys; of equal ones the earlier. Their
// order stays.
void KeepSmallest(std::vector<uint32_t>& indices, const std::vector<uint64_t>& keys, size_t count);

void SortMinutiae(std::vector<VXR_Minutia>& minutiae, int order, bool descending);

}  // namespace vxr
