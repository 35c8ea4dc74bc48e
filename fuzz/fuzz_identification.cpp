// One-to-many search in a gallery cut from the input: all forms end with a
// documented status, and find a candidate that matches alone when there is one.
#include <algorithm>

#include "fuzz_input.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

struct Found {
  int status;
  int index;
};

Found Check(Found found, size_t count) {
  Require(found.status == VXM_OK || found.status == VXM_ERR_INVALID_PARAMETERS ||
              found.status == VXM_ERR_TEMPLATE_TYPE,
          "the status is a documented one");
  Require(found.index >= -1 && found.index < static_cast<int>(count), "the index is in range");
  Require(found.status == VXM_OK || found.index == -1, "an error gives no index");
  return found;
}

// For a form that takes pointers, of which no bytes are a null one, or for one that
// takes all candidates in one buffer.
Found Search(decltype(&VXM_Identify) identify, bool inBuffer, MatcherHandle matcher,
             const Bytes& probe, const Bytes* gallery, size_t count) {
  std::vector<const uint8_t*> templates;
  std::vector<int> sizes;
  Bytes buffer;
  for (const Bytes* bytes = gallery; bytes != gallery + count; bytes++) {
    templates.push_back(bytes->data());
    sizes.push_back(fuzz::SizeOf(*bytes));
    if (inBuffer) buffer.insert(buffer.end(), bytes->begin(), bytes->end());
  }
  if (buffer.empty()) buffer.resize(1);
  buffer.shrink_to_fit();
  if (inBuffer) templates = {buffer.data()};
  Found found = {1, -2};
  found.status = identify(matcher, probe.data(), fuzz::SizeOf(probe), templates.data(),
                          sizes.data(), static_cast<int>(count), 0, &found.index);
  return Check(found, count);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MatcherHandle matcher = fuzz::NewMatcher();
  fuzz::Input input = fuzz::Parse(data, size);
  if (input.templates.size() < 2 || input.templates[0].empty()) return 0;
  fuzz::Configure(matcher, input.settings);
  const Bytes probe = input.templates[0];
  input.templates.erase(input.templates.begin());
  const std::vector<Bytes>& gallery = input.templates;
  const size_t count = gallery.size();

  std::vector<Found> alone;
  alone.reserve(count);
  for (const Bytes& bytes : gallery) {
    alone.push_back(Search(VXM_Identify, false, matcher, probe, &bytes, 1));
  }
  const auto matchesAlone = [&](int index) { return alone[static_cast<size_t>(index)].index == 0; };
  const bool anyMatches =
      std::any_of(alone.begin(), alone.end(), [](const Found& one) { return one.index == 0; });
  for (const auto identify : {VXM_Identify, VXM_IdentifyMT}) {
    const Found all = Search(identify, false, matcher, probe, gallery.data(), count);
    if (all.status != VXM_OK) continue;
    Require(all.index == -1 ? !anyMatches : matchesAlone(all.index), "a match is one alone");
  }
  const Found inOrder = Search(VXM_Identify, false, matcher, probe, gallery.data(), count);
  const Found copied = Search(VXM_Identify_J, true, matcher, probe, gallery.data(), count);
  const bool whole = std::all_of(gallery.begin(), gallery.end(), [](const Bytes& bytes) {
    return !bytes.empty() && bytes.size() <= 1024;
  });
  Require(!whole || (copied.status == inOrder.status && copied.index == inOrder.index),
          "a search in one buffer finds the same");
  Search(VXM_IdentifyMT_J, true, matcher, probe, gallery.data(), count);
  return 0;
}
