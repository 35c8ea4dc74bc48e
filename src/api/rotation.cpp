// The half turn of a stored template in the caller's buffer.
#include "matcher/matcher.h"
#include "templates/load.h"
#include "templates/native_template.h"
#include "templates/turn.h"

int VXM_CALL VXM_RotateTemplate(MatcherHandle handle, unsigned char* templateData, int size) {
  if (handle == nullptr || templateData == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  const vxm::TemplateFormat format = vxm::RecogniseFormat(templateData, size);
  vxm::WorkingSet& set = handle->caller;
  if (vxm::LoadTemplate(format, templateData, size, set.probeWorkspace) !=
      vxm::LoadOutcome::loaded) {
    return VXM_ERR_TEMPLATE_TYPE;
  }
  vxm::ForgetProbe(set.staged);
  const vxm::MatchWorkspace& turned = set.candidateWorkspace;
  vxm::TurnWorkspace(set.candidateWorkspace, set.probeWorkspace);
  if (format == vxm::TemplateFormat::native) {
    vxm::WriteNativeTemplate(turned, templateData, size);
    return VXM_OK;
  }
  const vxm::StandardRecordFields source =
      vxm::ReadRecord(vxm::LayoutOf(format), templateData, size);
  const auto write =
      format == vxm::TemplateFormat::iso ? vxm::WriteIsoRecord : vxm::WriteAnsiRecord;
  write(turned, source, templateData, size);
  return VXM_OK;
}
