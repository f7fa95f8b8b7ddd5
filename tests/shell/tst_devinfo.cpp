// Compiled together with the library's internal deviceidentity.cpp, whose sources it replaces.

#include <common/shell/linux/deviceidentity_p.h>
#include <common/shell/linux/devinfo.h>
#include <common/tools/string/converter.h>

#include "support/cases.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QTemporaryDir>

#include <cstring>
#include <linux/hdreg.h>
#include <unistd.h>

using common::shell::DeviceIdentity;
using common::shell::DeviceInfo;
using tools::string::converter;

namespace {

// Sources that lie in a directory; a "disk" identifies itself by the content of its file.
class Machine : public DeviceIdentity
{
public:
    explicit Machine(const QString& directory) : directory_(directory) {}

protected:
    QStringList DiskDevices() const override { return {Path("sda"), Path("hda")}; }
    QString CPUInfoFile() const override { return Path("cpuinfo"); }
    QStringList MachineIDFiles() const override { return {Path("id1"), Path("id2")}; }
    QString HostName() const override { return QFile::exists(Path("id2")) ? "" : "host"; }
    bool Identify(int device, hd_driveid& identification) const override
    {
        char serial[sizeof identification.serial_no + 1] = {};
        if (read(device, serial, sizeof serial) < 0 || strcmp(serial, "refused") == 0)
            return false;
        memset(&identification, '!', sizeof identification);
        memcpy(identification.serial_no, serial, sizeof identification.serial_no);
        return true;
    }

private:
    QString Path(const char* name) const { return directory_ + '/' + name; }

    const QString directory_;
};

struct IdentityCase
{
    const char* name;
    QStringList files; // name=content
    QString identity;
    QString failures = {};
};

} // namespace

class TestDevInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void identity_data()
    {
        const QString id = converter::ToMD5(QString("abc\n"));
        // One line for each key, "model" for two, and what only looks like a key.
        const QString described =
            "processor\t: 0\nvendor_id\t: V\ncpu family\t: 6\nmodel\t: 1\nmodel name\t: A\n"
            "stepping\t: 2\nmicrocode\t: 3\ncache size\t: 4\nphysical id\t: 0\nsiblings\t: 2\n"
            "core id\t\t: 0\ncpu cores\t: 1\ncpuid level\t: 5\nflags\t: fpu\naddress sizes\t: 6";
        const QString cpuInfo = "cpuinfo=bogomips\t: 7\nProcessor: x\n\n" + described;
        AddCases<IdentityCase>({
            {"all, serial of full length",
             {"sda=12345678901234567890", cpuInfo, "id1=abc\n"},
             id + "12345678901234567890" + converter::ToMD5(QString(described).remove('\n')) +
                 "host"},
            {"second disk",
             {"sda=refused", "hda=S2", "cpuinfo=none\n", "id1=abc\n"},
             id + "S2host",
             "GetHHDSerialNumber: Failed to HDIO_GET_IDENTITY from device 'DIR/sda'."},
            {"disk without serial, empty machine id",
             {"sda=", "hda=S", "cpuinfo=", "id1=", "id2=abc\n"},
             id + "S"},
            {"only a name",
             {},
             "host",
             "GetHHDSerialNumber: Failed to open HDD device 'DIR/sda'.\n"
             "GetHHDSerialNumber: Failed to open HDD device 'DIR/hda'.\n"
             "GetCPUInfoHash: Failed to open 'DIR/cpuinfo'!\n"
             "GetDBUSMachineID: Failed to open 'DIR/id1'!\n"
             "GetDBUSMachineID: Failed to open 'DIR/id2'!"},
            {"nothing",
             {"sda=", "hda=", "cpuinfo=", "id1=", "id2="},
             "",
             "GetSystemUUID: Failed to get system GUID!"},
        });
    }

    void identity()
    {
        const auto& row = CurrentCase<IdentityCase>();
        const QTemporaryDir directory;
        MakeTree(directory.path(), row.files);
        Machine machine(directory.path());
        const RecordingLogger log;
        const QString serial = machine.SerialNumber();
        if (row.identity.isEmpty())
            QVERIFY(serial.size() == 32 && serial != Machine(directory.path()).SerialNumber());
        else
            QCOMPARE(serial, converter::ToMD5(row.identity));
        QCOMPARE(log.Lines(), QStringList());
        machine.Log();
        machine.Log(); // nothing is left
        const QStringList debug = log.Lines("7 common.devinfo GetSystemUUID: ");
        QCOMPARE(debug.size(), 6);
        QVERIFY(debug[4].endsWith(": ID=" + row.identity));
        QCOMPARE(log.Lines("3 common.devinfo ")
                     .replaceInStrings("3 common.devinfo ", "")
                     .replaceInStrings(directory.path(), "DIR")
                     .join('\n'),
                 row.failures);
    }

    void thisMachine()
    {
        RecordingLogger log;
        QString toldWhileLogging; // a logger may put the identity into its lines
        log.SetListener([&](const QString&) { toldWhileLogging = DeviceInfo::GetSerialNumber(); });
        const QString serial = DeviceInfo::GetSerialNumber();
        QVERIFY(QRegularExpression("\\A[0-9a-f]{32}\\z").match(serial).hasMatch());
        QCOMPARE(toldWhileLogging, serial);
        const QStringList once = log.Lines();
        QCOMPARE(DeviceInfo::GetSerialNumberMD5Hash("ë"), converter::ToMD5("ë" + serial));
        QCOMPARE(log.Lines(), once);
    }
};

QTEST_GUILESS_MAIN(TestDevInfo)
#include "tst_devinfo.moc"
