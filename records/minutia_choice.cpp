#include "minutia_choice.h"

#include <algorithm>
#include <numeric>

namespace vxr {
namespace {

void SortByKeys(std::vector<uint32_t>& indices, const std::vector<uint64_t>& keys,
                bool descending) {
  std::stable_sort(indices.begin(), indices.end(), [&](uint32_t a, uint32_t b) {
    return descending ? keys[a] > keys[b] : keys[a] < keys[b];
  });
}

uint64_t KeyOf(const VXR_Minutia& minutia, int order) {
  if (order == VXR_ORDER_X) return minutia.x;
  return order == VXR_ORDER_Y ? minutia.y : minutia.angle;
}

}  // namespace

std::vector<uint64_t> CentroidDistances(const std::vector<VXR_Minutia>& minutiae) {
  const auto count = static_cast<int64_t>(minutiae.size());
  int64_t xSum = 0;
  int64_t ySum = 0;
  for (const VXR_Minutia& minutia : minutiae) {
    xSum += minutia.x;
    ySum += minutia.y;
  }
  std::vector<uint64_t> distances;
  for (const VXR_Minutia& minutia : minutiae) {
    const int64_t dx = minutia.x * count - xSum;
    const int64_t dy = minutia.y * count - ySum;
    distances.push_back(static_cast<uint64_t>(dx * dx + dy * dy));
  }
  return distances;
}

void KeepSmallest(std::vector<uint32_t>& indices, const std::vector<uint64_t>& keys, size_t count) {
  if (indices.size() <= count) return;
  SortByKeys(indices, keys, false);
  indices.resize(count);
  std::sort(indices.begin(), indices.end());
}

void SortMinutiae(std::vector<VXR_Minutia>& minutiae, int order, bool descending) {
  if (order == VXR_ORDER_KEPT) return;
  std::vector<uint64_t> keys;
  if (order == VXR_ORDER_DISTANCE) {
    keys = CentroidDistances(minutiae);
  } else {
    for (const VXR_Minutia& minutia : minutiae) keys.push_back(KeyOf(minutia, order));
  }
  std::vector<uint32_t> indices(minutiae.size());
  std::iota(indices.begin(), indices.end(), 0u);
  SortByKeys(indices, keys, descending);
  std::vector<VXR_Minutia> sorted;
  sorted.reserve(minutiae.size());
  for (const uint32_t index : indices) sorted.push_back(minutiae[index]);
  minutiae = std::move(sorted);
}

}  // namespace vxr
