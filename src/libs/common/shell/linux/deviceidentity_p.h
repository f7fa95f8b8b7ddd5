#pragma once

#include <QString>
#include <QStringList>

struct hd_driveid;

namespace common::shell {

/** Composes the machine's identity from its sources, which a test replaces. */
class DeviceIdentity
{
public:
    virtual ~DeviceIdentity() = default;

    QString SerialNumber() const;

protected:
    virtual QStringList DiskDevices() const;
    /** Asks the drive that is open as @p device for its identification. */
    virtual bool Identify(int device, hd_driveid& identification) const;
    virtual QString CPUInfoFile() const;
    virtual QStringList MachineIDFiles() const;
    virtual QString HostName() const;

private:
    QString GetHHDSerialNumber() const;
    QString GetCPUInfoHash() const;
    QString GetDBUSMachineID() const;
    QString GetSystemUUID() const;
};

} // namespace common::shell
