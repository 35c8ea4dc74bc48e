// The texts of the status codes.
#include <cstring>

#include "platform/platform.h"
#include "vxmkit.h"

namespace {

const char* StatusText(int status) {
  switch (status) {
    case VXM_OK: return "OK";
    case VXM_ERROR: return "ERROR";
    case VXM_ERR_NOT_SUPPORTED: return "ERROR: Not supported";
    case VXM_ERR_INVALID_PARAMETERS: return "ERROR: Invalid parameters";
    case VXM_ERR_DATA_CORRUPTED: return "ERROR: Data corrupted";
    case VXM_ERR_MATCH_TIMEOUT: return "ERROR: Match timeout";
    case VXM_ERR_MATCH_ABORTED: return "ERROR: Match aborted";
    case VXM_ERR_TEMPLATE_TYPE: return "ERROR: Template type not match";
    default: return nullptr;
  }
}

}  // namespace

int VXM_CALL VXM_GetErrorString(int status, char* message) {
  if (message == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  const char* text = StatusText(status);
  std::strcpy(message, text != nullptr ? text : "Undefined status");
  return text != nullptr ? VXM_OK : VXM_ERROR;
}

int VXM_CALL VXM_GetErrorString_B(int status, VXM_ComString* message) {
  if (message == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  char text[VXM_ERROR_TEXT_SIZE];
  const int result = VXM_GetErrorString(status, text);
  *message = vxm::platform::MakeComString(text);
  return *message != nullptr ? result : VXM_ERROR;
}
