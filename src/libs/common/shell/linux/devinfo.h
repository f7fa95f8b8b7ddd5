#pragma once

#include "common/qvcommon_export.h"

#include <QString>

namespace common::shell {

/**
 * Identifies this machine, or rather this installation. Any thread.
 *
 * @code
 * const QString id = common::shell::DeviceInfo::GetSerialNumberMD5Hash("licence");
 * @endcode
 *
 * The identity is a digest of the machine id, the serial number of the first disk, the description
 * of the processors and the host name. It is found out at the first call, which reads devices and
 * files, and then stays the same until the process ends. It differs from machine to machine and
 * between installations on one machine, and it changes with the host name, the kernel's view of the
 * processors (a microcode update, say) and with the rights of the process, as the disk is readable
 * for administrators only. If nothing can be found out, it is random.
 *
 * @warning The identity is no secret, and not proof of anything: any program on the machine can
 * compute it. It does identify the machine to whoever is given it. At level DEBUG, it and what it
 * is made of go into the log.
 */
class QVCOMMON_EXPORT DeviceInfo
{
public:
    DeviceInfo() = delete;

    /** The identity: 32 lower-case hexadecimal characters. */
    static QString GetSerialNumber();

    /** The MD5 digest, in that form, of @p text followed by GetSerialNumber(). */
    static QString GetSerialNumberMD5Hash(const QString& text);
};

} // namespace common::shell
