// Reading and changing a matcher's settings.
//
// The ISO mode is no setting of its own: it is the template type seen as a
// switch, so the two can never disagree.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "matcher/matcher.h"

namespace {

// Hosts compare these texts, so they do not follow the project's version by
// themselves: whoever changes that decides here what hosts are told.
constexpr char versionText[] = "VXMKIT_v3.7.0_r1777(m)";
constexpr char copyrightText[] = "Copyright 2026 The VXMKIT team.";
static_assert(std::string_view(VXM_VERSION_TEXT) == "3.7.0");
static_assert(sizeof(versionText) == 23 && sizeof(copyrightText) == VXM_PARAMETER_TEXT_SIZE);

bool IsSettable(int id) {
  return id == VXM_PARAM_FAST_MODE || id == VXM_PARAM_SECURITY_LEVEL || id == VXM_PARAM_ISO_MODE ||
         id == VXM_PARAM_RETRY_TURNED;
}

}  // namespace

int VXM_CALL VXM_GetParameter(MatcherHandle handle, int id, void* value) {
  if (handle == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  int number = 0;
  std::string_view bytes(reinterpret_cast<const char*>(&number), sizeof(number));
  switch (id) {
    case VXM_PARAM_VERSION: bytes = {versionText, sizeof(versionText)}; break;
    case VXM_PARAM_COPYRIGHT: bytes = {copyrightText, sizeof(copyrightText)}; break;
    case VXM_PARAM_FAST_MODE: number = handle->fastMode ? 1 : 0; break;
    case VXM_PARAM_SECURITY_LEVEL: number = handle->securityLevel; break;
    case VXM_PARAM_ISO_MODE: number = handle->templateType == TEMPLATE_ISO19794_2 ? 1 : 0; break;
    case VXM_PARAM_RETRY_TURNED: number = handle->retryTurnedProbe ? 1 : 0; break;
    default: return VXM_ERROR;
  }
  if (value == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  std::memcpy(value, bytes.data(), bytes.size());
  return VXM_OK;
}

int VXM_CALL VXM_SetParameter(MatcherHandle handle, int id, const int* value) {
  if (handle == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  if (!IsSettable(id)) return VXM_ERROR;
  if (value == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  switch (id) {
    case VXM_PARAM_FAST_MODE: handle->fastMode = *value != 0; break;
    case VXM_PARAM_SECURITY_LEVEL: handle->securityLevel = std::clamp(*value, 1, 7); break;
    case VXM_PARAM_ISO_MODE:
      handle->templateType = *value != 0 ? TEMPLATE_ISO19794_2 : TEMPLATE_NATIVE;
      break;
    default: handle->retryTurnedProbe = *value != 0;
  }
  return VXM_OK;
}

int VXM_CALL VXM_GetTemplateType(MatcherHandle handle, int* type) {
  if (handle == nullptr || type == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  *type = handle->templateType;
  return VXM_OK;
}

int VXM_CALL VXM_SetTemplateType(MatcherHandle handle, int type) {
  if (handle == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  handle->templateType = type;
  return VXM_OK;
}
