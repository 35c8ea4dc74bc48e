// The entries of the interface: arguments checked, failures made statuses.
#include "vxmrecords.h"

#include <algorithm>
#include <memory>
#include <new>

#include "convert_record.h"
#include "forms.h"
#include "reading.h"
#include "writing.h"

namespace {

using vxr::Faults;
using vxr::OwnedRecord;

// Nothing is thrown across the interface.
template <class Call>
int Guarded(Call call) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return VXR_ERROR_MEMORY;
  } catch (...) {
    return VXR_ERROR_MEMORY;
  }
}

int BadArgument(VXR_Fault* fault, const char* why) {
  Faults(fault, 1).Refuse(0, why);
  return VXR_ERROR_ARGUMENT;
}

bool IsNothing(const unsigned char* bytes, size_t size) { return bytes == nullptr && size > 0; }

bool ReadAny(const unsigned char* bytes, size_t size, const VXR_Image* told, OwnedRecord& record,
             Faults& faults) {
  const vxr::Cursor in = {bytes, size};
  const VXR_Image image = told == nullptr ? VXR_Image{} : *told;
  if (vxr::HasHeader(record.form)) return vxr::ReadRecord(in, record, faults);
  if (record.form == VXR_XYT) return vxr::ReadXyt(in, image, record, faults);
  return vxr::ReadCard(in, image, record, faults);
}

template <class Element>
bool IsThere(const Element* list, uint32_t count) {
  return list != nullptr || count == 0;
}

// Whether the pointers of a record from the caller lead somewhere.
bool IsWhole(const VXR_Record& record) {
  if (vxr::FindForm(record.form) == nullptr) return false;
  if (!IsThere(record.views, record.viewCount)) return false;
  return std::all_of(record.views, record.views + record.viewCount, [](const VXR_View& view) {
    return IsThere(view.minutiae, view.minutiaCount) &&
           IsThere(view.qualities, view.qualityCount) &&
           IsThere(view.certifications, view.certificationCount) &&
           IsThere(view.extended, view.extendedSize) && view.minutiaCount <= vxr::mostUncounted;
  });
}

const char* Meaningless(const VXR_Record* record, const VXR_Conversion* wanted) {
  if (record == nullptr || wanted == nullptr || !IsWhole(*record)) return "no record";
  if (vxr::FindForm(wanted->form) == nullptr) return "no such form to convert to";
  const auto isSize = [](int value) { return value >= 0 && value <= 0xFFFF; };
  if (!isSize(wanted->resolution) || !isSize(wanted->width) || !isSize(wanted->height)) {
    return "image size and resolution must be 0 to 65535";
  }
  if (wanted->form == VXR_ISO_CARD_COMPACT && wanted->resolution != 0 &&
      wanted->resolution != vxr::compactResolution) {
    return "the compact card counts in tenths of a millimetre: it has no other resolution";
  }
  if (wanted->view < -1) return "no such view";
  if (wanted->maxMinutiae < 0) return "the number of minutiae must be 0 or more";
  if (wanted->order < VXR_ORDER_KEPT || wanted->order > VXR_ORDER_DISTANCE) return "no such order";
  if (!vxr::HasHeader(wanted->form) && wanted->view < 0 && record->viewCount != 1) {
    return "the form holds one view: choose one, or split the record";
  }
  return nullptr;
}

}  // namespace

int VXR_CALL VXR_Check(const unsigned char* bytes, size_t size, int form, const VXR_Image* image,
                       VXR_Fault* faults, int capacity) {
  if (IsNothing(bytes, size) || vxr::FindForm(form) == nullptr) {
    BadArgument(capacity > 0 ? faults : nullptr, "no bytes, or no such form");
    return 1;
  }
  return Guarded([&] {
    OwnedRecord record;
    record.form = form;
    Faults found(faults, capacity);
    ReadAny(bytes, size, image, record, found);
    return found.Count();
  });
}

int VXR_CALL VXR_Read(const unsigned char* bytes, size_t size, int form, const VXR_Image* image,
                      VXR_Record** record, VXR_Fault* fault) {
  if (record == nullptr) return BadArgument(fault, "no place for the record");
  *record = nullptr;
  if (IsNothing(bytes, size) || vxr::FindForm(form) == nullptr) {
    return BadArgument(fault, "no bytes, or no such form");
  }
  return Guarded([&]() -> int {
    auto owned = std::make_unique<OwnedRecord>();
    owned->form = form;
    Faults found(fault, 1, Faults::Kind::structure);
    if (!ReadAny(bytes, size, image, *owned, found)) return VXR_ERROR_DAMAGED;
    *record = owned.release();
    return VXR_OK;
  });
}

int VXR_CALL VXR_Convert(const VXR_Record* record, const VXR_Conversion* conversion,
                         VXR_Record** converted, VXR_Losses* losses, VXR_Fault* fault) {
  VXR_Losses counted = {};
  if (losses != nullptr) *losses = counted;
  if (converted == nullptr) return BadArgument(fault, "no place for the record");
  *converted = nullptr;
  if (const char* why = Meaningless(record, conversion)) return BadArgument(fault, why);
  return Guarded([&]() -> int {
    auto owned = std::make_unique<OwnedRecord>();
    Faults found(fault, 1);
    if (!vxr::ConvertRecord(*record, *conversion, *owned, counted, found)) return VXR_ERROR_FORM;
    if (losses != nullptr) *losses = counted;
    *converted = owned.release();
    return VXR_OK;
  });
}

int VXR_CALL VXR_Write(const VXR_Record* record, unsigned char* bytes, size_t capacity,
                       size_t* size, VXR_Fault* fault) {
  if (size == nullptr) return BadArgument(fault, "no place for the size");
  *size = 0;
  if (record == nullptr || !IsWhole(*record)) return BadArgument(fault, "no record");
  return Guarded([&]() -> int {
    std::vector<uint8_t> written;
    Faults found(fault, 1);
    if (!vxr::WriteRecord(*record, written, found)) return VXR_ERROR_FORM;
    *size = written.size();
    if (capacity < written.size() || IsNothing(bytes, written.size())) {
      found.Refuse(0, "the buffer is too small");
      return VXR_ERROR_ROOM;
    }
    std::copy(written.begin(), written.end(), bytes);
    return VXR_OK;
  });
}

void VXR_CALL VXR_Free(VXR_Record* record) { delete static_cast<OwnedRecord*>(record); }
