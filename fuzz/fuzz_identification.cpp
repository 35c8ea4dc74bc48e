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

// Candidates for the forms that take pointers; no bytes are a null pointer.
Found Search(decltype(&VXM_Identify) identify, MatcherHandle matcher, const Bytes& probe,
             const Bytes* gallery, size_t count) {
  std::vector<const uint8_t*> templates(count);
  std::vector<int> sizes(count);
  for (size_t i = 0; i < count; i++) {
    templates[i] = gallery[i].data();
    sizes[i] = fuzz::SizeOf(gallery[i]);
  }
  Found found = {1, -2};
  found.status = identify(matcher, probe.data(), fuzz::SizeOf(probe), templates.data(),
                          sizes.data(), static_cast<int>(count), 0, &found.index);
  return Check(found, count);
}

Found SearchInBuffer(decltype(&VXM_Identify_J) identify, MatcherHandle matcher, const Bytes& probe,
                     const std::vector<Bytes>& gallery) {
  Bytes buffer;
  std::vector<int> sizes;
  for (const Bytes& bytes : gallery) {
    buffer.insert(buffer.end(), bytes.begin(), bytes.end());
    sizes.push_back(fuzz::SizeOf(bytes));
  }
  if (buffer.empty()) buffer.resize(1);
  buffer.shrink_to_fit();
  const uint8_t* data = buffer.data();
  Found found = {1, -2};
  found.status = identify(matcher, probe.data(), fuzz::SizeOf(probe), &data, sizes.data(),
                          static_cast<int>(gallery.size()), 0, &found.index);
  return Check(found, gallery.size());
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
    alone.push_back(Search(VXM_Identify, matcher, probe, &bytes, 1));
  }
  const auto matchesAlone = [&](int index) { return alone[static_cast<size_t>(index)].index == 0; };
  const bool anyMatches =
      std::any_of(alone.begin(), alone.end(), [](const Found& one) { return one.index == 0; });
  for (const auto identify : {VXM_Identify, VXM_IdentifyMT}) {
    const Found all = Search(identify, matcher, probe, gallery.data(), count);
    if (all.status != VXM_OK) continue;
    Require(all.index == -1 ? !anyMatches : matchesAlone(all.index), "a match is one alone");
  }
  const Found inOrder = Search(VXM_Identify, matcher, probe, gallery.data(), count);
  const bool whole = std::all_of(gallery.begin(), gallery.end(), [](const Bytes& bytes) {
    return !bytes.empty() && bytes.size() <= 1024;
  });
  const Found copied = SearchInBuffer(VXM_Identify_J, matcher, probe, gallery);
  if (whole) {
    Require(copied.status == inOrder.status && copied.index == inOrder.index,
            "a search in one buffer finds the same");
  }
  SearchInBuffer(VXM_IdentifyMT_J, matcher, probe, gallery);
  return 0;
}
