#include "common/tools/process/prochelper.h"

namespace tools::process {

unsigned long ProcHelper::FindChildProcessId(unsigned long, QString)
{
    return 0;
}

unsigned long ProcHelper::FindProcessId(QString)
{
    return 0;
}

bool ProcHelper::Terminate(unsigned long)
{
    return false;
}

} // namespace tools::process
