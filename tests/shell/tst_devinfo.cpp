// Compiled together with the library's internal deviceidentity.cpp, whose sources it replaces.

#include <common/shell/linux/deviceidentity_p.h>
#include <common/shell/linux/devinfo.h>
#include <common/tools/string/converter.h>

#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QTemporaryDir>
#include <QtTest>

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
    explicit Machine(const QTemporaryDir& directory) : directory_(directory) {}

    QString hostName;

protected:
    QStringList DiskDevices() const override { return {Path("sda"), Path("hda")}; }
    QString CPUInfoFile() const override { return Path("cpuinfo"); }
    QStringList MachineIDFiles() const override { return {Path("id1"), Path("id2")}; }
    QString HostName() const override { return hostName; }
    bool Identify(int device, hd_driveid& identification) const override
    {
        char serial[sizeof identification.serial_no + 1] = {};
        if (read(device, serial, sizeof serial) < 0 || strcmp(serial, "refused") == 0)
            return false;
        memcpy(identification.serial_no, serial, sizeof identification.serial_no);
        memset(identification.fw_rev, '!', sizeof identification.fw_rev);
        return true;
    }

private:
    QString Path(const char* name) const { return directory_.filePath(name); }

    const QTemporaryDir& directory_;
};

} // namespace

class TestDevInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void identity_data()
    {
        QTest::addColumn<QStringList>("files"); // name=content
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("identity");
        QTest::addColumn<QStringList>("failures");
        const auto row = [](const char* name, const QStringList& files, const QString& host,
                            const QString& identity, const QStringList& failures) {
            QTest::newRow(name) << files << host << identity << failures;
        };
        const QString noDisk = "GetHHDSerialNumber: Failed to open HDD device 'DIR/%1'.";
        const QString noMachineId = "GetDBUSMachineID: Failed to open 'DIR/%1'!";
        const QString idHash = converter::ToMD5(QString("abc\n"));
        // One line for each key, "model" for two, and what only looks like a key.
        const QStringList described = {
            "processor\t: 0",   "vendor_id\t: V", "cpu family\t: 6",    "model\t: 1",
            "model name\t: A",  "stepping\t: 2",  "microcode\t: 3",     "cache size\t: 4",
            "physical id\t: 0", "siblings\t: 2",  "core id\t\t: 0",     "cpu cores\t: 1",
            "cpuid level\t: 5", "flags\t: fpu",   "address sizes\t: 6", "processor\t: 1"};
        const QString cpuHash = converter::ToMD5(described.join(""));
        const QString cpuInfo =
            "cpuinfo=bogomips\t: 7\nProcessor: x\n\n" + described.join('\n') + "\n processor: y";

        row("all", {"sda=SERIAL  ", cpuInfo, "id1=abc\n"}, "host",
            idHash + "SERIAL  " + cpuHash + "host", {});
        row("serial of full length", {"sda=12345678901234567890", "cpuinfo=", "id1=abc\n"}, "",
            idHash + "12345678901234567890", {});
        row("second disk", {"sda=refused", "hda=S2", "cpuinfo=none\n", "id1=abc\n"}, "",
            idHash + "S2",
            {"GetHHDSerialNumber: Failed to HDIO_GET_IDENTITY from device 'DIR/sda'."});
        row("disk without serial", {"sda=", "hda=", "cpuinfo=", "id1=abc\n"}, "h", idHash + "h",
            {});
        row("disks closed to us", {"cpuinfo=", "id1=abc\n"}, "h", idHash + "h",
            {noDisk.arg("sda"), noDisk.arg("hda")});
        row("second machine id", {"sda=S", "cpuinfo=", "id2=abc\n"}, "", idHash + "S",
            {noMachineId.arg("id1")});
        row("empty machine id", {"sda=S", "cpuinfo=", "id1=", "id2=abc\n"}, "", idHash + "S", {});
        row("no machine id, no processors", {"sda=S"}, "h", "Sh",
            {"GetCPUInfoHash: Failed to open 'DIR/cpuinfo'!", noMachineId.arg("id1"),
             noMachineId.arg("id2")});
    }

    void identity()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, host);
        QFETCH(QString, identity);
        QFETCH(QStringList, failures);
        const QTemporaryDir directory;
        MakeTree(directory.path(), files);
        Machine machine(directory);
        machine.hostName = host;

        const RecordingLogger log;
        QCOMPARE(machine.SerialNumber(), converter::ToMD5(identity));
        QCOMPARE(log.Lines(), QStringList());
        machine.Log();
        const QStringList debug = log.Lines("7 common.devinfo GetSystemUUID: ");
        QCOMPARE(debug.size(), 6);
        for (int i = 0; i < 6; ++i) {
            const char* const begins[] = {"HDD=", "CPU=", "MACHINE-ID=", "HOST=", "ID=", "MD5ID="};
            QVERIFY2(debug[i].section(' ', 3).startsWith(begins[i]), qPrintable(debug[i]));
        }
        QVERIFY(debug[4].endsWith(": ID=" + identity));
        QCOMPARE(log.Files(), QStringList("src/libs/common/shell/linux/devinfo"));
        failures.replaceInStrings("DIR", directory.path());
        QCOMPARE(log.Lines("3 common.devinfo ").replaceInStrings("3 common.devinfo ", ""),
                 failures);
    }

    void withoutAnySourceRandom()
    {
        const QTemporaryDir directory;
        Machine machine(directory);
        const QString first = machine.SerialNumber();
        QCOMPARE(first.size(), 32);
        QVERIFY(first != machine.SerialNumber());
        const RecordingLogger log;
        machine.Log();
        QCOMPARE(log.Lines("3 common.devinfo GetSystemUUID: Failed to get system GUID!").size(), 2);
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
        QCOMPARE(DeviceInfo::GetSerialNumberMD5Hash(""), converter::ToMD5(serial));
        QCOMPARE(DeviceInfo::GetSerialNumberMD5Hash("ë"), converter::ToMD5("ë" + serial));
        QCOMPARE(log.Lines(), once);
    }
};

QTEST_GUILESS_MAIN(TestDevInfo)
#include "tst_devinfo.moc"
