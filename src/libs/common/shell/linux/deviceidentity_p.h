#pragma once

#include "common/logger/message.h"

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

    QString SerialNumber();
    /** Logs what composing the identity has said, in that order, once. */
    void Log();

protected:
    virtual QStringList DiskDevices() const;
    /** Asks the drive that is open as @p device for its identification. */
    virtual bool Identify(int device, hd_driveid& identification) const;
    virtual QString CPUInfoFile() const;
    virtual QStringList MachineIDFiles() const;
    virtual QString HostName() const;

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
    QString GetSystemUUID();
    void Keep(Priority priority, const QString& text, const char* function = __builtin_FUNCTION(),
              int line = __builtin_LINE());

    QVector<Record> records_;
};

} // namespace common::shell
