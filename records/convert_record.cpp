// Converting: minutiae by scaling, turning units, dropping, pruning and ordering; the
// rest is carried where the new form has a place for it.
#include "convert_record.h"

#include <algorithm>

#include "forms.h"
#include "minutia_choice.h"

namespace vxr {
namespace {

constexpr uint32_t largestCompact = 255;
constexpr uint32_t noLimit = 0x10000;

// value * to / from, rounded half up.
uint32_t Scaled(uint32_t value, uint32_t to, uint32_t from) {
  return static_cast<uint32_t>((uint64_t{value} * to * 2 + from) / (uint64_t{from} * 2));
}

// From units of one turn to those of another.
uint32_t ScaledAngle(uint32_t angle, uint32_t to, uint32_t from) {
  return Scaled(angle, to, from) % to;
}

// One direction: from resolution to resolution, into an image of a limit.
struct Axis {
  uint32_t from;
  uint32_t to;
  uint32_t limit;  // the first coordinate outside

  uint32_t Convert(uint32_t value) const { return from == to ? value : Scaled(value, to, from); }
  bool Restores(uint32_t value) const {
    return from == to || Scaled(Convert(value), from, to) == value;
  }
};

struct Conversion {
  const VXR_Record& source;
  const VXR_Conversion& wanted;
  OwnedRecord& target;
  VXR_Losses& losses;
};

uint32_t LargestCoordinate(int form) {
  return form == VXR_ISO_CARD_COMPACT ? largestCompact : uint32_t{largestCoordinate};
}

// The new size of the image in one direction: the one asked for, or the old one scaled;
// 0 where it is not known.
uint32_t NewSize(int asked, uint32_t old, uint32_t to, uint32_t from) {
  if (asked > 0) return static_cast<uint32_t>(asked);
  return from == to || old == 0 ? old : std::max(Scaled(old, to, from), 1u);
}

bool MakeAxes(const Conversion& c, const VXR_View& from, VXR_View& to, Axis& x, Axis& y,
              Faults& faults) {
  const bool compact = c.target.form == VXR_ISO_CARD_COMPACT;
  const int asked = compact ? compactResolution : c.wanted.resolution;
  x = {from.xResolution, asked > 0 ? static_cast<uint32_t>(asked) : from.xResolution, 0};
  y = {from.yResolution, asked > 0 ? static_cast<uint32_t>(asked) : from.yResolution, 0};
  if ((x.from == 0 && x.to != 0) || (y.from == 0 && y.to != 0)) {
    return faults.Refuse(0, "a resolution of 0 cannot be changed");
  }
  const uint32_t width = NewSize(c.wanted.width, from.width, x.to, x.from);
  const uint32_t height = NewSize(c.wanted.height, from.height, y.to, y.from);
  if (width > 0xFFFF || height > 0xFFFF) {
    return faults.Refuse(0, "the image would be larger than 65535 pixels");
  }
  if (c.target.form == VXR_XYT && height == 0) {
    return faults.Refuse(0, "minutia text counts y from the bottom: the image height is needed");
  }
  const uint32_t largest = LargestCoordinate(c.target.form);
  // Cards know no image: outside lies only what is outside of one that is asked for.
  const bool bounded = !IsCard(c.target.form);
  const bool xBounded = width != 0 && (bounded || c.wanted.width > 0);
  const bool yBounded = height != 0 && (bounded || c.wanted.height > 0);
  x.limit = std::min(xBounded ? width : noLimit, largest + 1);
  y.limit = std::min(yBounded ? height : noLimit, largest + 1);
  to.width = static_cast<uint16_t>(xBounded ? width : 0);
  to.height = static_cast<uint16_t>(yBounded ? height : 0);
  to.xResolution = static_cast<uint16_t>(x.to);
  to.yResolution = static_cast<uint16_t>(y.to);
  return true;
}

// The indices of the minutiae that stay.
std::vector<uint32_t> Choose(const Conversion& c, const std::vector<VXR_Minutia>& all,
                             const Axis& x, const Axis& y) {
  std::vector<uint32_t> indices;
  for (uint32_t i = 0; i < all.size(); i++) {
    if (x.Convert(all[i].x) < x.limit && y.Convert(all[i].y) < y.limit) indices.push_back(i);
  }
  const size_t inside = indices.size();
  size_t most = HasHeader(c.target.form) ? mostMinutiae : mostUncounted;
  if (c.wanted.maxMinutiae > 0) most = std::min(most, static_cast<size_t>(c.wanted.maxMinutiae));
  if (inside > most) KeepSmallest(indices, CentroidDistances(all), most);
  c.losses.minutiaeOutside += static_cast<uint32_t>(all.size() - inside);
  c.losses.minutiaePruned += static_cast<uint32_t>(inside - indices.size());
  return indices;
}

VXR_Minutia ConvertMinutia(const Conversion& c, const VXR_Minutia& from, const Axis& x,
                           const Axis& y) {
  const auto oldTurn = static_cast<uint32_t>(FindForm(c.source.form)->turn);
  const Form& form = *FindForm(c.target.form);
  const auto newTurn = static_cast<uint32_t>(form.turn);
  VXR_Minutia to = from;
  to.x = static_cast<uint16_t>(x.Convert(from.x));
  to.y = static_cast<uint16_t>(y.Convert(from.y));
  if (oldTurn != newTurn) {
    const uint32_t angle = from.angle % oldTurn;
    to.angle = static_cast<uint16_t>(ScaledAngle(angle, newTurn, oldTurn));
    c.losses.anglesRounded += ScaledAngle(to.angle, oldTurn, newTurn) != angle;
  }
  c.losses.positionsRounded += !x.Restores(from.x) || !y.Restores(from.y);
  if (c.target.form == VXR_XYT) {
    c.losses.typesDropped += from.type != VXR_OTHER;
    to.type = VXR_OTHER;
  }
  const bool given = from.quality >= 1 && from.quality <= 100;
  if (!form.quality || (c.target.form == VXR_XYT && !given)) {
    c.losses.qualitiesDropped += given || from.quality == 255;
    to.quality = 0;
  }
  return to;
}

uint32_t CountBlocks(const VXR_View& view) {
  uint32_t count = 0;
  for (uint32_t at = 0; at + 4 <= view.extendedSize; count++) {
    const uint32_t length =
        static_cast<uint32_t>(view.extended[at + 2] << 8 | view.extended[at + 3]);
    at += std::max(length, 4u);
  }
  return std::max(count, view.extendedSize > 0 ? 1u : 0u);
}

void ConvertExtended(const Conversion& c, const VXR_View& from, bool unchanged, VXR_View& to) {
  const bool sameUnit = FindForm(c.source.form)->turn == FindForm(c.target.form)->turn;
  std::vector<uint8_t> extended;
  if (c.wanted.keepExtended != 0 && unchanged && sameUnit && HasHeader(c.target.form)) {
    extended.assign(from.extended, from.extended + from.extendedSize);
  } else {
    c.losses.extendedDropped += CountBlocks(from);
  }
  c.target.Keep(to, std::move(extended));
}

// Where nothing tells the size of an image, it is just large enough.
void GuessSize(VXR_View& view) {
  view.width = std::max(view.width, uint16_t{1});
  view.height = std::max(view.height, uint16_t{1});
  for (uint32_t i = 0; i < view.minutiaCount; i++) {
    const VXR_Minutia& minutia = view.minutiae[i];
    if (minutia.x >= view.width) view.width = static_cast<uint16_t>(minutia.x + 1);
    if (minutia.y >= view.height) view.height = static_cast<uint16_t>(minutia.y + 1);
  }
}

bool IsSame(const VXR_Minutia& a, const VXR_Minutia& b) {
  return a.x == b.x && a.y == b.y && a.angle == b.angle;
}

bool ConvertView(const Conversion& c, const VXR_View& from, Faults& faults) {
  VXR_View to = {};
  Axis x = {};
  Axis y = {};
  if (!MakeAxes(c, from, to, x, y, faults)) return false;
  const std::vector<VXR_Minutia> all(from.minutiae, from.minutiae + from.minutiaCount);
  std::vector<VXR_Minutia> minutiae;
  for (const uint32_t index : Choose(c, all, x, y)) {
    minutiae.push_back(ConvertMinutia(c, all[index], x, y));
  }
  SortMinutiae(minutiae, c.wanted.order, c.wanted.descending != 0);
  const bool same = std::equal(minutiae.begin(), minutiae.end(), all.begin(), all.end(), IsSame);
  c.target.Keep(to, std::move(minutiae));
  ConvertViewFields(c.source, from, c.target, to, c.losses);
  const bool sameImage = to.width == from.width && to.height == from.height &&
                         to.xResolution == from.xResolution && to.yResolution == from.yResolution;
  ConvertExtended(c, from, same && sameImage, to);
  if (!IsCard(c.target.form) && (to.width == 0 || to.height == 0)) GuessSize(to);
  if (c.target.form == VXR_ISO_2011) {
    const bool has =
        c.source.form == VXR_ISO_2011 ? from.minutiaSize == 6 : FindForm(c.source.form)->quality;
    to.minutiaSize = has ? 6 : 5;
  }
  if (c.wanted.view >= 0) to.number = 0;
  if (IsFirstEdition(c.target.form) && to.number > 15) {
    return faults.Refuse(0, "view number ", int{to.number}, " is above 15: split the record");
  }
  c.target.Add(to);
  return true;
}

}  // namespace

bool ConvertRecord(const VXR_Record& source, const VXR_Conversion& wanted, OwnedRecord& target,
                   VXR_Losses& losses, Faults& faults) {
  target.form = wanted.form;
  const bool one = wanted.view >= 0;
  if (one && static_cast<uint32_t>(wanted.view) >= source.viewCount) {
    return faults.Refuse(0, "there is no view ", wanted.view + 1, ": the record has ",
                         source.viewCount);
  }
  if (one) losses.viewsDropped = source.viewCount - 1;
  ConvertHeader(source, target, losses);
  const Conversion conversion = {source, wanted, target, losses};
  const uint32_t first = one ? static_cast<uint32_t>(wanted.view) : 0;
  const uint32_t end = one ? first + 1 : source.viewCount;
  for (uint32_t i = first; i < end; i++) {
    faults.view = static_cast<int>(i);
    if (!ConvertView(conversion, source.views[i], faults)) return false;
  }
  faults.view = -1;
  return true;
}

}  // namespace vxr
