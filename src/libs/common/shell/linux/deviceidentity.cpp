#include "common/shell/linux/deviceidentity_p.h"

#include "common/logger/ilogger.h"
#include "common/tools/string/converter.h"

#include <QFile>
#include <QUuid>

#include <algorithm>
#include <fcntl.h>
#include <iterator>
#include <linux/hdreg.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace common::shell {

using tools::string::converter;

namespace {

constexpr logger::ICategory logCategory{"common.devinfo"};
constexpr char logSource[] = "src/libs/common/shell/linux/devinfo";

constexpr const char* processorKeys[] = {"processor", "vendor_id",    "cpu family", "model",
                                         "stepping",  "microcode",    "cache size", "physical id",
                                         "siblings",  "core id",      "cpu cores",  "cpuid level",
                                         "flags",     "address sizes"};

bool DescribesProcessor(const QByteArray& line)
{
    return std::any_of(std::begin(processorKeys), std::end(processorKeys),
                       [&line](const char* key) { return line.startsWith(key); });
}

} // namespace

bool DeviceIdentity::Identify(int device, hd_driveid& identification) const
{
    return ioctl(device, HDIO_GET_IDENTITY, &identification) == 0;
}

QString DeviceIdentity::GetHHDSerialNumber()
{
    for (const QString& path : std::as_const(diskDevices_)) {
        const int device = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        if (device < 0) {
            Keep(Priority::ERROR, QStringLiteral("Failed to open HDD device '%1'.").arg(path));
            continue;
        }
        hd_driveid drive = {};
        const bool identified = Identify(device, drive);
        close(device);
        if (!identified) {
            Keep(Priority::ERROR,
                 QStringLiteral("Failed to HDIO_GET_IDENTITY from device '%1'.").arg(path));
            continue;
        }
        // The field need not be terminated.
        const auto* serial = reinterpret_cast<const char*>(drive.serial_no);
        const auto size = qstrnlen(serial, sizeof drive.serial_no);
        if (size > 0)
            return QString::fromUtf8(serial, static_cast<int>(size));
    }
    return QString();
}

QString DeviceIdentity::GetCPUInfoHash()
{
    QFile file(cpuInfoFile_);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        Keep(Priority::ERROR, QStringLiteral("Failed to open '%1'!").arg(file.fileName()));
        return QString();
    }
    QByteArray description;
    // Not until atEnd(), which is true at once for a file of /proc.
    for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine()) {
        if (line.endsWith('\n'))
            line.chop(1);
        if (DescribesProcessor(line))
            description += line;
    }
    return description.isEmpty() ? QString() : converter::ToMD5(description);
}

QString DeviceIdentity::GetDBUSMachineID()
{
    for (const QString& path : std::as_const(machineIDFiles_)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            Keep(Priority::ERROR, QStringLiteral("Failed to open '%1'!").arg(path));
            continue;
        }
        const QByteArray content = file.readAll();
        if (!content.isEmpty())
            return converter::ToMD5(content);
    }
    return QString();
}

QString DeviceIdentity::GetSystemUUID()
{
    const QString disk = GetHHDSerialNumber();
    const QString processor = GetCPUInfoHash();
    const QString machine = GetDBUSMachineID();
    Keep(Priority::DEBUG, QStringLiteral("HDD=") + disk);
    Keep(Priority::DEBUG, QStringLiteral("CPU=") + processor);
    Keep(Priority::DEBUG, QStringLiteral("MACHINE-ID=") + machine);
    Keep(Priority::DEBUG, QStringLiteral("HOST=") + hostName_);

    QString identity = machine + disk + processor + hostName_;
    Keep(Priority::DEBUG, QStringLiteral("ID=") + identity);
    if (identity.isEmpty()) {
        Keep(Priority::ERROR, QStringLiteral("Failed to get system GUID!"));
        identity = QUuid::createUuid().toString();
    }
    const QString serialNumber = converter::ToMD5(identity);
    Keep(Priority::DEBUG, QStringLiteral("MD5ID=") + serialNumber);
    return serialNumber;
}

void DeviceIdentity::Keep(Priority priority, const QString& text, const char* function, int line)
{
    records_.append({priority, text, function, line});
}

void DeviceIdentity::Log()
{
    const auto records = std::exchange(records_, {});
    for (const Record& record : records)
        logger::Message(logger::GetLogger(), &logCategory, record.priority, logSource,
                        record.function, record.line)
            << record.text;
}

} // namespace common::shell
