// A record together with the memory that its pointers lead to.
#pragma once

#include <vector>

#include "vxmrecords.h"

namespace vxr {

struct OwnedRecord : VXR_Record {
  OwnedRecord() : VXR_Record() {}
  OwnedRecord(const OwnedRecord&) = delete;
  OwnedRecord& operator=(const OwnedRecord&) = delete;

  std::vector<VXR_View> viewList;
  std::vector<std::vector<VXR_Minutia>> minutiae;
  std::vector<std::vector<VXR_Quality>> qualities;
  std::vector<std::vector<VXR_Certification>> certifications;
  std::vector<std::vector<uint8_t>> extended;

  // What stands in a list once that is in `store`: lists may move, their elements stay.
  template <class Element>
  static const Element* Keep(std::vector<std::vector<Element>>& store, std::vector<Element> list,
                             uint32_t& count) {
    count = static_cast<uint32_t>(list.size());
    store.push_back(std::move(list));
    return store.back().data();
  }
  void Keep(VXR_View& view, std::vector<VXR_Minutia> list) {
    view.minutiae = Keep(minutiae, std::move(list), view.minutiaCount);
  }
  void Keep(VXR_View& view, std::vector<VXR_Quality> list) {
    view.qualities = Keep(qualities, std::move(list), view.qualityCount);
  }
  void Keep(VXR_View& view, std::vector<VXR_Certification> list) {
    view.certifications = Keep(certifications, std::move(list), view.certificationCount);
  }
  void Keep(VXR_View& view, std::vector<uint8_t> list) {
    view.extended = Keep(extended, std::move(list), view.extendedSize);
  }
  void Add(const VXR_View& view) {
    viewList.push_back(view);
    views = viewList.data();
    viewCount = static_cast<uint32_t>(viewList.size());
  }
};

}  // namespace vxr
