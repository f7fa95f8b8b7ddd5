#include "support/scriptedserver.h"
#include "support/tree.h"
#include "support/xserver.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

using loopback::Reply;

class TestQvtool : public QObject
{
    Q_OBJECT

private:
    struct Result
    {
        int code = 0; // of a crash the signal, below 0
        QString out;
        QString err;
    };

    // The event loop goes on meanwhile, as the server needs it.
    Result Run(QStringList arguments, const QByteArray& input = {}, const QString& stdOut = {})
    {
        QProcess process;
        QUrl secret = server_.Url({});
        secret.setUserInfo("user:word");
        arguments.replaceInStrings("SECRET_URL", secret.toString());
        arguments.replaceInStrings("URL", server_.Url({}).toString());
        arguments.replaceInStrings("DIR", directory_.path());
        if (!stdOut.isEmpty())
            process.setStandardOutputFile(stdOut);
        process.start(QVTOOL_PATH, arguments);
        process.write(input);
        process.closeWriteChannel();
        [&] {
            QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 30000);
        }();
        const bool crashed = process.exitStatus() == QProcess::CrashExit;
        return {crashed ? -process.exitCode() : process.exitCode(),
                QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    static bool Catches(int signal, qint64 process)
    {
        const QByteArray status = ::ContentOf(QString("/proc/%1/status").arg(process));
        const int mask = status.indexOf("SigCgt:\t") + 8;
        return (status.mid(mask, 16).toULongLong(nullptr, 16) >> (signal - 1) & 1) != 0;
    }

    QString Path(const QString& name) const { return directory_.filePath(name); }

    QByteArray ContentOf(const QString& name) const { return ::ContentOf(Path(name)); }

    QStringList Leftovers() const { return QDir(directory_.path()).entryList({"*.part"}); }

    void Write(const QString& name, const QByteArray& bytes) { WriteFile(Path(name), bytes); }

    ScriptedServer server_;
    QTemporaryDir directory_;

private Q_SLOTS:
    void init()
    {
        qputenv("DISPLAY", ":none");
        server_.Script("/ok", {Reply::Ok("body")});
        server_.Script("/cut", {Cut("body and more", 4)});
        server_.Script("/drop", {Reply::Dropped()});
        server_.Script("/silent", {Silent()});
        server_.Script("/empty", {Reply::Status(204, "No Content")});
        Reply moved = Reply::Status(302, "Found", "page");
        moved.headers << qMakePair(QByteArray("Location"), QByteArray("/ok"));
        server_.Script("/moved", {moved});
        Write("list.json", "[1]");
        Write("broken.json", "{\"a\":");
        Write("old", "precious");
        Write("long", QByteArray(33, 'k'));
    }

    void failures_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* arguments, int code, const char* error) {
            QTest::newRow(arguments) << QString(arguments).split(' ') << code << error;
        };
        row("nonsense", 2, "qvtool: there is no command 'nonsense'");
        row("get", 2, "qvtool get: URL is missing");
        row("get --nonsense URL/ok", 2, "qvtool get: Unknown option 'nonsense'");
        row("get URL/ok more", 2, "qvtool get: 'more' is one argument too many");
        row("get 127.0.0.1/ok", 2, "is no HTTP address");
        row("get http:///ok", 2, "qvtool get: ");
        row("get ftp://host/ok", 2, "is no HTTP address");
        row("get --log loud URL/ok", 2, "qvtool get: --log takes one of emerg, alert");
        row("get --log-file DIR/none/log URL/ok", 2, "none/log': No such file or directory");
        row("get --log-config DIR/none URL/ok", 2, "none': No such file or directory");
        row("get --log-config DIR/old URL/ok", 2, "old' is no property file that log4cpp can use");
        row("get --log-file DIR/l --log-config DIR/c URL/ok", 2, "exclude each other");
        row("get --tries 0 URL/ok", 2, "qvtool get: --tries takes a whole number from 1 to");
        row("get --timeout x URL/ok", 2, "qvtool get: --timeout takes a whole number");
        row("get --header a URL/ok", 2, "qvtool get: --header takes NAME=VALUE, not 'a'");
        row("get --form a=1 --form a=2 URL/ok", 2, "the form field 'a' is given twice");
        row("post --json x --form a=b URL/ok", 2, "exclude each other");
        row("download URL/ok", 2, "qvtool download: FILE is missing");
        row("download --size -1 URL/ok DIR/f", 2, "qvtool download: --size takes a whole number");
        row("download --md5 12xy URL/ok DIR/f", 2, "--md5 takes 32 hexadecimal digits");
        row("copy DIR/old", 2, "qvtool copy: DESTINATION is missing");
        row("remove", 2, "qvtool remove: PATH is missing");
        row("compare 1.0", 2, "qvtool compare: VERSION is missing");
        row("compare 1.0 1.0b", 2, "qvtool compare: '1.0b' is no version");
        row("compare 1.0 4294967296", 2, "'4294967296' is no version");
        row("encrypt --key-file DIR", 1, "': it is not a regular file");
        row("encrypt --key-file /dev/null", 1, "not a regular file");
        row("encrypt mysecret", 2, "qvtool encrypt: it takes no arguments: the text comes from");
        row("decrypt --key-file DIR/long", 1, "has 33 bytes, not 1 to 32");
        row("reveal DIR/none", 1, "none': it does not exist");
        row("idle --count 0", 2, "qvtool idle: --count takes a whole number");
        row("idle", 1, "screen-saver extension (DISPLAY is ':none')");
        row("copy DIR/none DIR/old", 1, "none': it does not exist");
        row("copy DIR/old DIR/list.json DIR/old/in", 1, "Cannot create path to '");
        row("copy DIR/old DIR/./old DIR/new/", 1, "has the same destination");
        row("copy DIR/old DIR/old", 1, "Cannot copy from '");
        row("remove DIR/none", 1, "none': it does not exist");
        row("remove --yes /", 1, "it holds the current directory");
        row("remove --yes DIR/./", 1, "its name is '.'");
        row("remove DIR", 1, "nothing removed: not confirmed");
        row("get http://127.0.0.1:1/", 1, "qvtool get: http://127.0.0.1:1/: Connection refused");
        row("get http://no-such-host.invalid/", 1, "Host no-such-host.invalid not found (code 3)");
        row("get URL/missing", 1, "server replied: Not Found (code 203)");
        row("get SECRET_URL/missing", 1, "server replied: Not Found (code 203)");
        row("get URL/silent --timeout 1", 1, "Request timed out (code 4)");
        row("post --json DIR/none URL/ok", 1, "/none': No such file or directory");
        row("post --json DIR URL/ok", 1, "': it is not a regular file");
        row("post --json DIR/list.json URL/ok", 1, "holds no JSON object");
        row("post --json DIR/broken.json URL/ok", 1, "is no JSON: ");
        row("post --file f=DIR/none URL/ok", 1, "Failed to open file '");
        row("download URL/ok DIR", 1, "it is a directory");
        row("download URL/ok /dev/null", 1, "it is not a regular file");
        row("download URL/ok DIR/old/below", 1, "its directory cannot be created");
        row("download URL/empty DIR/old", 1, "the server sent no file, but status 204");
        row("post URL/moved", 1, "redirected to /ok");
        row("download URL/ok DIR/old --size 5", 1, "Expected 5 bytes, downloaded 4 bytes.");
        row("download URL/ok DIR/old --md5 00000000000000000000000000000000", 1, "by checksum!");
        row("download --sha256 00 URL/ok DIR/old", 2, "--sha256 takes 64 hexadecimal digits");
        row("download URL/cut DIR/old", 1, "/cut -> '");
        row("download URL/drop DIR/old", 1, "Connection closed");
    }

    void failures()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, error);
        const Result result = Run(arguments);
        QTEST(result.code, "code");
        QVERIFY2(result.err.contains(error), qPrintable(result.err));
        QVERIFY(!result.err.contains("word"));
        QCOMPARE(result.out, QString());
        QCOMPARE(result.err.split('\n').filter("qvtool").size(), 1);
        QCOMPARE(ContentOf("old"), QByteArray("precious"));
        QCOMPARE(Leftovers(), QStringList());
    }

    void help_data()
    {
        QTest::addColumn<QString>("command");
        for (const char* command :
             {"", "get", "post", "download", "copy", "remove", "parse", "encrypt", "decrypt",
              "compare", "device-id", "reveal", "temp-path", "idle", "demo"})
            QTest::newRow(command) << command;
    }

    void help()
    {
        QFETCH(QString, command);
        QStringList arguments(command);
        arguments.removeAll(QString());
        const Result result = Run(arguments << "--help");
        QCOMPARE(result.code, 0);
        QVERIFY(result.out.startsWith("usage: qvtool", Qt::CaseInsensitive));
        QVERIFY(command.isEmpty() || result.out.contains("qvtool " + command));
    }

    void download()
    {
        const QString line = Path("old") + "  4 bytes  MD5 841a2d689ad86bd1611447453c22c6fc\n";
        for (const char* digest :
             {"", "--md5=841A2D689AD86BD1611447453C22C6FC",
              "--sha256=230D8358DC8E8890B4C58DEEB62912EE2F20357AE92A5CC861B98E68FE31ACB5"}) {
            QStringList arguments = {"download", "URL/ok", "DIR/old", digest};
            arguments.removeAll(QString());
            const Result result = Run(arguments);
            QCOMPARE(result.out, line);
            QCOMPARE(result.code, 0);
            QCOMPARE(ContentOf("old"), QByteArray("body"));
        }
        server_.Script("/chunks", {Chunked("body")});
        const Result unsized = Run({"download", "URL/chunks", "DIR/old"});
        QCOMPARE(unsized.code, 0);
        QVERIFY(unsized.err.contains("the server announced no size"));
        QVERIFY(QFile::link(Path("old"), Path("link")));
        QVERIFY(QFile::setPermissions(Path("old"), QFile::ReadOwner | QFile::WriteOwner));
        server_.Script("/ok", {Reply::Ok("other")});
        QCOMPARE(Run({"download", "URL/moved", "DIR/link"}).code, 0);
        QVERIFY(!(QFileInfo(Path("old")).permissions() & QFile::ReadGroup));
        QVERIFY(QFileInfo(Path("link")).isSymLink());
        QCOMPARE(ContentOf("old"), QByteArray("other"));
    }

    void diskFull()
    {
        const QString script = "ulimit -f 1; exec " QVTOOL_PATH " download " +
                               server_.Url("/large").toString() + ' ' + Path("old");
        server_.Script("/large", {Reply::Ok(QByteArray(100000, 'x'))});
        QProcess process;
        process.start("sh", {"-c", script});
        QTRY_COMPARE(process.state(), QProcess::NotRunning);
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(
            process.readAllStandardError().contains("bytes could be written, is the disk full?"));
        QCOMPARE(ContentOf("old"), QByteArray("precious"));
    }

    void getAndPost()
    {
        Result result =
            Run({"get", "URL/ok", "--form", "q=a=b", "--header", "X-A=1", "--log", "debug"});
        QCOMPARE(result.out, QString("body"));
        QVERIFY(result.err.contains("http.request: "));
        QVERIFY(result.err.contains("Sending GET request to URL="));
        QCOMPARE(server_.Requests().last().target, QByteArray("/ok?q=a%3Db"));
        QCOMPARE(server_.Requests().last().Header("X-A"), QByteArray("1"));

        QCOMPARE(Run({"post", "URL/ok", "--json", "-"}, " {\"b\": [1, 2.5]} ").code, 0);
        QCOMPARE(server_.Requests().last().body, QByteArray("{\"b\":[1,2.5]}"));
        QCOMPARE(Run({"post", "URL/ok", "--part", "t=x", "--file", "f=DIR/old"}).code, 0);
        QVERIFY(server_.Requests().last().body.contains("\r\n\r\nprecious\r\n"));
        server_.Script("/slow", {Reply::Status(429, "Slow Down")});
        QCOMPARE(Run({"get", "URL/slow", "--tries", "2", "--interval", "0"}).code, 1);
        QCOMPARE(server_.RequestsFor("/slow").size(), 2);

        qputenv("http_proxy", server_.Url({}).authority().toUtf8());
        qputenv("no_proxy", "127.0.0.1");
        server_.Script("http://service.test/ok", {Reply::Ok("by proxy")});
        QCOMPARE(Run({"get", "http://service.test/ok"}).out, QString("by proxy"));
        QCOMPARE(Run({"get", "URL/ok"}).out, QString("body"));
        qunsetenv("no_proxy");
        qputenv("NO_PROXY", "*");
        qputenv("http_proxy", "127.0.0.1:1");
        QCOMPARE(Run({"get", "URL/ok"}).out, QString("body"));
        qunsetenv("http_proxy");
        qunsetenv("NO_PROXY");

        server_.Script("/gzip", {Gzip("no gzip")});
        result = Run({"get", "URL/gzip"});
        QCOMPARE(result.out, QString("no gzip"));
        QVERIFY(result.err.contains("Failed to decompress gzip"));
        auto script = QVector<Reply>(8, Reply::Dropped()).toList();
        server_.Script("/gzip/later", script << Reply::Ok("body"));
        result = Run({"get", "URL/gzip/later", "--tries", "9", "--interval", "0"});
        QCOMPARE(result.out + result.err, QString("body"));

        result = Run({"get", "URL/ok"}, {}, "/dev/full");
        QCOMPARE(result.code, 1);
        QVERIFY(result.err.contains("cannot write to standard output"));
    }

    void copyAndRemove()
    {
        MakeTree(directory_.path(), {"tree/f=1", "tree/a/g=2", "tree/a/l->g", "old=precious"});
        Result result = Run({"copy", "DIR/tree", "DIR/old", "DIR/copies"});
        QCOMPARE(result.out, QString("4 items copied\n"));
        QVERIFY2(result.err.contains("100%  10 B of 10 B"), qPrintable(result.err));
        result = Run({"copy", "DIR/tree/a/l", "DIR/copies/link"});
        QCOMPARE(DescribeTree(Path("copies")),
                 QStringList({"link->g", "old=precious", "tree/", "tree/a/", "tree/a/g=2",
                              "tree/a/l->g", "tree/f=1"}));
        QCOMPARE(Run({"remove", "DIR/copies/tree", "DIR/copies/link"}, "no\n").code, 1);
        QCOMPARE(DescribeTree(Path("copies")).size(), 7);
        result = Run({"remove", "DIR/copies/tree", "DIR/copies/link"}, "y\n");
        QCOMPARE(result.out, QString("6 items removed\n"));
        QCOMPARE(Run({"remove", "--yes", "DIR/copies", "DIR/tree"}).code, 0);
        QCOMPARE(DescribeTree(directory_.path()).filter(QRegularExpression("copies|tree")),
                 QStringList());
    }

    void interruptedCopySaysHowFarItGot()
    {
        QStringList files;
        for (int i = 0; i < 20000; ++i)
            files << QString("many/%1=%1").arg(i);
        MakeTree(directory_.path(), files);
        QProcess process;
        process.start(QVTOOL_PATH, {"copy", Path("many"), Path("few")});
        QTRY_VERIFY(QFile::exists(Path("few")));
        ::kill(static_cast<pid_t>(process.processId()), SIGINT);
        QTRY_COMPARE(process.state(), QProcess::NotRunning);
        QCOMPARE(process.exitCode(), 1);
        const int copied = DescribeTree(Path("few")).size();
        QVERIFY(copied > 0 && copied < 20000);
        const QString error = QString::fromUtf8(process.readAllStandardError());
        QVERIFY2(error.contains(QString("interrupted: %1 of 20000 items copied").arg(copied)),
                 qPrintable(error));
        QVERIFY(QDir(Path("many")).removeRecursively() && QDir(Path("few")).removeRecursively());
    }

    void interrupt()
    {
        server_.Script("/drip", {Drip(QByteArray(1000, 'x'), 1, 20)});
        std::signal(SIGINT, SIG_DFL); // a background job of a script ignores it
        for (const QString command :
             {"get URL/silent", "download URL/drip DIR/old", "post URL/ok --json -", "demo"}) {
            const int hits = server_.Requests().size();
            QProcess process;
            auto arguments = command.split(' ');
            arguments.replaceInStrings("URL", server_.Url({}).toString());
            arguments.replaceInStrings("DIR", directory_.path());
            process.start(QVTOOL_PATH, arguments);
            QVERIFY(process.waitForStarted());
            QTRY_VERIFY(Catches(SIGINT, process.processId()));
            QTRY_VERIFY(!command.contains("URL/") || command.contains("json") ||
                        server_.Requests().size() > hits);
            QCOMPARE(process.state(), QProcess::Running);
            ::kill(static_cast<pid_t>(process.processId()), SIGINT);
            QTRY_COMPARE(process.state(), QProcess::NotRunning);
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            QCOMPARE(process.exitCode(), 1);
            QVERIFY(process.readAllStandardError().contains("interrupted: "));
        }
        QCOMPARE(ContentOf("old"), QByteArray("precious"));
        QCOMPARE(Leftovers(), QStringList());
    }

    void parse()
    {
        const Result table = Run({"parse", "\"Zoë\" <sip:Zoe@Example.com:5060>", "a\033"});
        QCOMPARE(table.code, 0);
        for (const char* line :
             {"kind              2 (SIP address)", "user              Zoe",
              "host              Example.com", "port              5060", "display name      Zoë",
              "normalised        Zoe@Example.com:5060", "number            Zoe@example.com:5060",
              "check code        2 (forbidden characters)", "user              a\\x1b"})
            QVERIFY2(table.out.split('\n').contains(line), line);

        const Result json =
            Run({"parse", "--json"}, QByteArray("skype:X\r\n+123,,4 5\na\0b@c.com", 28));
        const QStringList lines = json.out.split('\n');
        QCOMPARE(lines.size(), 4);
        QVERIFY(lines[2].contains("\"address\":false") && lines[2].contains("\"a\\u0000b@c.com\""));
        QCOMPARE(
            lines[0],
            R"({"address":true,"check":3,"contactNumber":"x@skype.com","displayName":"","dropped":"",)"
            R"("host":"skype.com","kind":3,"normalised":"skype:X","number":"skype: x@skype.com",)"
            R"("port":"","postDial":"","problem":"","text":"skype:X","uri":"x@skype.com","user":"X"})");
        QVERIFY(lines[1].contains("\"contactNumber\":\"123,45\""));
        QVERIFY(lines[1].contains("\"postDial\":\",,45\""));
    }

    void encryptAndDecrypt()
    {
        Write("key", "key\n");
        const QStringList withKey = {"--key-file", "DIR/key"};
        QCOMPARE(Run(QStringList("encrypt") + withKey, "secret").out, "O3uX6IaI38D+oHmVP+JedQ==\n");
        for (const QStringList& key : {withKey, QStringList()}) {
            for (const char* text :
                 {"two\nlines, grüß dich\n", "exactly 16 bytes\n", "\n", "cr\r\r\n\n"}) {
                const Result encrypted = Run(QStringList("encrypt") + key, text);
                QCOMPARE(Run(QStringList("decrypt") + key, encrypted.out.toUtf8()).out, text);
            }
        }
        const QPair<const char*, const char*> failures[] = {
            {"encrypt", "\xFF"},
            {"decrypt", "no Base64!"},
            {"decrypt", "QUJD"},
            {"decrypt", "O3uX6IaI38D+oHmVP+JedQ=="}, // of another key
        };
        for (const auto& [command, input] : failures) {
            const Result result = Run({command}, input);
            QCOMPARE(result.code, 1);
            QVERIFY(result.out.isEmpty() && !result.err.isEmpty());
        }
    }

    void closedStandardInput()
    {
        for (const char* command : {"encrypt", "parse"}) {
            QProcess process;
            process.start("sh", {"-c", QString("exec " QVTOOL_PATH " %1 <&-").arg(command)});
            QVERIFY(process.waitForFinished());
            QCOMPARE(process.exitCode(), 1);
            QVERIFY(process.readAllStandardError().contains("cannot read standard input"));
        }
    }

    void desktop()
    {
        const XServer server;
        qputenv("DISPLAY", server.Display().toLatin1());
        const Result idle = Run({"idle", "--count", "2"});
        qputenv("DISPLAY", ":none");
        QCOMPARE(idle.code, 0);
        QVERIFY2(QRegularExpression("\\A(X11: \\d+ s\n){2}\\z").match(idle.out).hasMatch(),
                 qPrintable(idle.out + idle.err));
        QVERIFY(Run({"temp-path"}).out.endsWith("_100\n"));
    }

    void compare()
    {
        QCOMPARE(Run({"compare", "1.9", "1-10"}).out, "1.9.0.0 < 1.10.0.0\n");
        QCOMPARE(Run({"compare", "2", "1.9.9"}).out, "2.0.0.0 > 1.9.9.0\n");
        QCOMPARE(Run({"compare", "2", "2.0"}).out, "2.0.0.0 = 2.0.0.0\n");
    }

    void deviceIdAndLogFiles()
    {
        const Result id = Run({"device-id", "--log-file", "DIR/log"});
        QVERIFY(QRegularExpression("\\A[0-9a-f]{32}\\n\\z").match(id.out).hasMatch());
        QCOMPARE(id.err, "");
        QVERIFY(ContentOf("log").contains(" common.devinfo: MD5ID=" + id.out.trimmed().toUtf8()));

        const Result salted =
            Run({"device-id", "--salt", "x", "--log", "error", "--log-file", "DIR/log2"});
        QVERIFY(salted.out != id.out && salted.out.size() == 33);
        QVERIFY(!ContentOf("log2").contains(" DEBUG "));

        Write("config", "rootCategory=INFO, A\nappender.A=FileAppender\nappender.A.fileName=" +
                            Path("log3").toLocal8Bit() +
                            "\nappender.A.layout=PatternLayout\n"
                            "appender.A.layout.ConversionPattern=%c %m%n\n");
        MakeTree(directory_.path(), {"gone"});
        QCOMPARE(Run({"remove", "DIR/gone", "--log-config", "DIR/config"}).code, 0);
        QVERIFY(ContentOf("log3").startsWith("shell.fileremove Remov"));
    }

    void demo()
    {
        const Result result = Run({"demo"});
        QVERIFY2(result.code == 0, qPrintable(result.out + result.err));
        QVERIFY(result.out.contains("All 11 steps ended as they should"));
    }
};

QTEST_GUILESS_MAIN(TestQvtool)
#include "tst_qvtool.moc"
