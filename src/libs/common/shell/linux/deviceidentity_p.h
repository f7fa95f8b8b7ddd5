#pragma once

#include "common/logger/message.h"

#include <QHostInfo>
#include <QString>
#include <QStringList>
#include <QVector>

struct hd_driveid;

namespace common::shell {

/**
 * Composes the machine's identity from its sources, which a test replaces.
 *
 * What there is to say meanwhile is kept until Log(): a logger may ask for the identity itself.
 */
class DeviceIdentity
{
public:
    virtual ~DeviceIdentity() = default;

    QString GetSystemUUID();
    /** Logs what composing the identity has said, in that order, once. */
    void Log();

protected:
    /** Asks the drive that is open as @p device for its identification. */
    virtual bool Identify(int device, hd_driveid& identification) const;

    QStringList diskDevices_ = {QStringLiteral("/dev/sda"), QStringLiteral("/dev/hda")};
    QString cpuInfoFile_ = QStringLiteral("/proc/cpuinfo");
    QStringList machineIDFiles_ = {QStringLiteral("/var/lib/dbus/machine-id"),
                                   QStringLiteral("/etc/machine-id")};
    QString hostName_ = QHostInfo::localHostName();

private:
    using Priority = logger::IMessage::Priority;

    struct Record
    {
        Priority priority;
        QString text;
        const char* function;
        int line;
    };

    QString GetHHDSerialNumber();
    QString GetCPUInfoHash();
    QString GetDBUSMachineID();
    void Keep(Priority priority, const QString& text, const char* function = __builtin_FUNCTION(),
              int line = __builtin_LINE());

    QVector<Record> records_;
};

} // namespace common::shell
