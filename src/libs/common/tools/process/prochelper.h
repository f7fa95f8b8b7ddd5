#pragma once

#include "common/qvcommon_export.h"

#include <QString>

namespace tools::process {

/** Looks up and ends processes: not on Linux, so none is found or ended, ever. */
class QVCOMMON_EXPORT ProcHelper
{
public:
    /** 0: no process. */
    static unsigned long FindChildProcessId(unsigned long, QString);
    /** 0: no process. */
    static unsigned long FindProcessId(QString);
    /** Always false. */
    static bool Terminate(unsigned long);
};

} // namespace tools::process
