// Making templates for tests.
#include "support/made_templates.h"

namespace made {

Bytes Encode(const vxmsynth::Impression& impression, int type) {
  switch (type) {
    case TEMPLATE_ISO19794_2: return vxmsynth::EncodeIso(impression);
    case TEMPLATE_ANSI378: return vxmsynth::EncodeAnsi(impression);
    default: return vxmsynth::EncodeNative(impression);
  }
}

Bytes Touch(int type, uint64_t finger, uint64_t impression,
            const vxmsynth::ImpressionSettings& settings) {
  return Encode(vxmsynth::MakeImpression(vxmsynth::MakeFinger(finger), impression, settings), type);
}

Bytes TurnedTouch(int type, uint64_t finger, uint64_t impression) {
  return Encode(
      vxmsynth::TurnImpression(vxmsynth::MakeImpression(vxmsynth::MakeFinger(finger), impression)),
      type);
}

vxmsynth::Impression Plain(int gridWidth, int gridHeight, const Minutiae& minutiae) {
  const auto blocks = static_cast<size_t>(gridWidth * gridHeight);
  return {gridWidth, gridHeight, 77, minutiae, Bytes(blocks, 40)};
}

}  // namespace made
