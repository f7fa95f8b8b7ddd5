// Compiled together with the library's internal deviceidentity.cpp, whose sources it replaces.

#include <common/shell/linux/deviceidentity_p.h>
#include <common/shell/linux/devinfo.h>
#include <common/tools/string/converter.h>

#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QtTest>

#include <cstring>
#include <linux/hdreg.h>
#include <unistd.h>

using namespace common::shell;

namespace {

// Sources that lie in the current directory; a "disk" identifies itself by the content of its file.
struct Machine : DeviceIdentity
{
    Machine()
    {
        diskDevices_ = QStringList({"sda", "hda"});
        cpuInfoFile_ = "cpuinfo";
        machineIDFiles_ = QStringList({"id1", "id2"});
        hostName_ = QFile::exists("id2") ? "" : "host";
    }

    bool Identify(int device, hd_driveid& drive) const override
    {
        memset(&drive, '!', sizeof drive);
        memset(drive.serial_no, 0, sizeof drive.serial_no);
        return read(device, drive.serial_no, sizeof drive.serial_no) >= 0 &&
               memcmp(drive.serial_no, "refused", 7) != 0;
    }
};

QString Md5(const QString& text)
{
    return tools::string::converter::ToMD5(text);
}

} // namespace

class TestDevInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What the files make of the machine: its identity, and what is logged.
    void identity()
    {
        // One line for each key, "model" for two, and what only looks like a key.
        const QString described =
            "processor\t: 0\nvendor_id\t: V\ncpu family\t: 6\nmodel\t: 1\nmodel name\t: A\n"
            "stepping\t: 2\nmicrocode\t: 3\ncache size\t: 4\nphysical id\t: 0\nsiblings\t: 2\n"
            "core id\t\t: 0\ncpu cores\t: 1\ncpuid level\t: 5\nflags\t: fpu\naddress sizes\t: 6";
        const QString cpuInfo = "cpuinfo=bogomips\t: 7\nProcessor: x\n\n" + described;
        for (const auto& [files, identity, failures] : std::vector<std::array<QStringList, 3>>{
                 {{{"sda=12345678901234567890", cpuInfo, "id1=abc\n"},
                   {Md5("abc\n") + "12345678901234567890" + Md5(QString(described).remove('\n')) +
                    "host"}}},
                 {{{"sda=refused", "hda=S2", "cpuinfo=none\n", "id1=abc\n"},
                   {Md5("abc\n") + "S2host"},
                   {"GetHHDSerialNumber: Failed to HDIO_GET_IDENTITY from device 'sda'."}}},
                 {{{"sda=", "hda=S", "cpuinfo=", "id1=", "id2=abc\n"}, {Md5("abc\n") + "S"}}},
                 {{{},
                   {"host"},
                   {"GetHHDSerialNumber: Failed to open HDD device 'sda'.",
                    "GetHHDSerialNumber: Failed to open HDD device 'hda'.",
                    "GetCPUInfoHash: Failed to open 'cpuinfo'!",
                    "GetDBUSMachineID: Failed to open 'id1'!",
                    "GetDBUSMachineID: Failed to open 'id2'!"}}},
                 {{{"sda=", "hda=", "cpuinfo=", "id1=", "id2="},
                   {""},
                   {"GetSystemUUID: Failed to get system GUID!"}}},
             }) {
            const CurrentTree tree(files);
            Machine machine;
            const RecordingLogger log;
            const QString serial = machine.GetSystemUUID();
            if (identity[0].isEmpty())
                QVERIFY(serial.size() == 32 && serial != Machine().GetSystemUUID());
            else
                QCOMPARE(serial, Md5(identity[0]));
            QCOMPARE(log.Lines(), QStringList());
            machine.Log();
            machine.Log(); // nothing is left
            const QStringList debug = log.Lines("7 common.devinfo GetSystemUUID: ");
            QCOMPARE(debug.size(), 6);
            QVERIFY(debug[4].endsWith(": ID=" + identity[0]));
            QCOMPARE(log.Lines("3 common.devinfo ").replaceInStrings("3 common.devinfo ", ""),
                     failures);
        }
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
        QCOMPARE(DeviceInfo::GetSerialNumberMD5Hash("ë"), Md5("ë" + serial));
        QCOMPARE(log.Lines(), once);
    }
};

QTEST_GUILESS_MAIN(TestDevInfo)
#include "tst_devinfo.moc"
