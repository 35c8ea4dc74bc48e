// The readers: bytes in, a record out, and all that is wrong on the way. Each is one
// pass over the fields in their order, which checks their ranges too.
#pragma once

#include "cursor.h"
#include "faults.h"
#include "owned_record.h"

namespace vxr {

// Of a form with a header. False after a fault of structure.
bool ReadRecord(Cursor in, OwnedRecord& record, Faults& faults);

// Of the other forms.
bool ReadCard(Cursor in, const VXR_Image& image, OwnedRecord& record, Faults& faults);
bool ReadXyt(Cursor in, const VXR_Image& image, OwnedRecord& record, Faults& faults);

// The next view of a record whose header has been read; into `view`, but for image
// size and resolution where the header has them.
bool ReadView(Cursor& all, OwnedRecord& record, VXR_View& view, Faults& faults);

// `count` minutiae in the layout of `size` bytes each (3, 5 or 6).
bool ReadMinutiae(Cursor& in, size_t count, int size, int form, OwnedRecord& record, VXR_View& view,
                  Faults& faults);

// Whether blocks of extended data add up and hold what their types say.
void CheckExtended(Cursor in, const VXR_View& view, int form, Faults& faults);

}  // namespace vxr
