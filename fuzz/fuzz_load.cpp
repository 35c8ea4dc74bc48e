// Loading through the interface: of the three formats at most one takes the bytes,
// and what loads as a probe loads as a candidate, verifies and turns.
#include "fuzz_input.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

bool LoadsAs(MatcherHandle matcher, int type, const Bytes& bytes) {
  VXM_SetTemplateType(matcher, type);
  const Bytes sparse = fuzz::Sparse(type);
  const int size = fuzz::SizeOf(bytes);
  int matched = -2;
  Require(VXM_IdentifyInit(matcher, sparse.data(), fuzz::SizeOf(sparse)) == VXM_OK,
          "a sparse probe is one");
  const int status = VXM_IdentifyNext(matcher, bytes.data(), size, &matched);
  Require(VXM_IdentifyInit(matcher, bytes.data(), size) == status,
          "a candidate is as good as a probe");
  const int verified = fuzz::Verify(matcher, bytes, sparse).status;
  Require(fuzz::Verify(matcher, sparse, bytes).status == verified, "first is as good as second");
  if (status == VXM_OK) {
    Require(matched == 0, "nothing is like a sparse template");
    Require(verified == VXM_OK || (type != TEMPLATE_NATIVE && verified == VXM_ERR_DATA_CORRUPTED),
            "what loads verifies, or is a record that fails its check");
    return true;
  }
  Require(status == VXM_ERR_TEMPLATE_TYPE, "the status is a documented one");
  Require(matched == -2, "an error leaves the output");
  constexpr int recognised = 10;  // what is shorter may be of any type
  Require(verified == VXM_ERR_TEMPLATE_TYPE ||
              (type == TEMPLATE_NATIVE && verified == VXM_ERR_INVALID_PARAMETERS) ||
              (type != TEMPLATE_NATIVE && size < recognised && verified == VXM_ERR_DATA_CORRUPTED),
          "what does not load does not verify");
  return false;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MatcherHandle matcher = fuzz::NewMatcher();
  for (const Bytes& bytes : fuzz::Parse(data, size).templates) {
    if (bytes.empty()) continue;
    fuzz::Configure(matcher, data[0]);
    int formats = 0;
    for (const int type : {TEMPLATE_NATIVE, TEMPLATE_ISO19794_2, TEMPLATE_ANSI378}) {
      formats += LoadsAs(matcher, type, bytes) ? 1 : 0;
    }
    Bytes turned = bytes;
    const int status = VXM_RotateTemplate(matcher, turned.data(), fuzz::SizeOf(turned));
    Require(formats <= 1, "the formats exclude each other");
    Require(status == (formats == 1 ? VXM_OK : VXM_ERR_TEMPLATE_TYPE), "what loads turns");
  }
  return 0;
}
