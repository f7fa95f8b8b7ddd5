#include "common/tools/process/prochelper.h"

namespace tools::process {

// Clients are built against these parameters.
// NOLINTBEGIN(performance-unnecessary-value-param)
unsigned long ProcHelper::FindChildProcessId(unsigned long, QString)
{
    return 0;
}

unsigned long ProcHelper::FindProcessId(QString)
{
    return 0;
}

// NOLINTEND(performance-unnecessary-value-param)

bool ProcHelper::Terminate(unsigned long)
{
    return false;
}

} // namespace tools::process
