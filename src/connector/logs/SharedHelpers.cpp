#include "CLIENTS/CVMAPI/CVMSLIB/common/FileManagement.h"
#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {

void AttachSharedHelpers() {
  SetFileManagementLog({LogDebug, DebugLevelAbove});
  SetBufferAppendModeSource([] { return settings::Get(settings::kUseBufferAppendMode); });
}

}  // namespace corvane
