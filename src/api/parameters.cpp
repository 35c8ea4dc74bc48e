// Reading and changing a matcher's settings.
//
// The ISO mode is no setting of its own: it is the template type seen as a
// switch, so the two can never disagree.
#include <algorithm>
#include <cstring>

#include "matcher/matcher.h"

namespace {

constexpr char versionText[] = "VXMKIT_v" VXM_VERSION_TEXT "_r1777(m)";
constexpr char copyrightText[] = "Copyright 2026 The VXMKIT team.";
static_assert(sizeof(versionText) <= VXM_PARAMETER_TEXT_SIZE);
static_assert(sizeof(copyrightText) == 32);

}  // namespace

int VXM_CALL VXM_GetParameter(MatcherHandle handle, int id, void* value) {
  if (handle == nullptr || value == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  int number = 0;
  switch (id) {
    case VXM_PARAM_VERSION: std::memcpy(value, versionText, sizeof(versionText)); return VXM_OK;
    case VXM_PARAM_COPYRIGHT:
      std::memcpy(value, copyrightText, sizeof(copyrightText));
      return VXM_OK;
    case VXM_PARAM_FAST_MODE: number = handle->fastMode ? 1 : 0; break;
    case VXM_PARAM_SECURITY_LEVEL: number = handle->securityLevel; break;
    case VXM_PARAM_ISO_MODE: number = handle->templateType == TEMPLATE_ISO19794_2 ? 1 : 0; break;
    case VXM_PARAM_RETRY_TURNED: number = handle->retryTurnedProbe ? 1 : 0; break;
    default: return VXM_ERROR;
  }
  std::memcpy(value, &number, sizeof(number));
  return VXM_OK;
}

int VXM_CALL VXM_SetParameter(MatcherHandle handle, int id, const int* value) {
  if (handle == nullptr || value == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  switch (id) {
    case VXM_PARAM_FAST_MODE: handle->fastMode = *value != 0; return VXM_OK;
    case VXM_PARAM_SECURITY_LEVEL: handle->securityLevel = std::clamp(*value, 1, 7); return VXM_OK;
    case VXM_PARAM_ISO_MODE:
      handle->templateType = *value != 0 ? TEMPLATE_ISO19794_2 : TEMPLATE_NATIVE;
      return VXM_OK;
    case VXM_PARAM_RETRY_TURNED: handle->retryTurnedProbe = *value != 0; return VXM_OK;
    default: return VXM_ERROR;
  }
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
