#include "support/cases.h"
#include "support/scriptedserver.h"
#include "support/tree.h"
#include "support/xserver.h"

#include <QtTest>

#include <csignal>
#include <optional>

using loopback::Reply;

namespace {

struct Case
{
    const char* name; // the arguments, as the shell takes them
    int code;
    QByteArray out; // a pattern for all of it
    const char* error = "";
    QByteArray input = {};
};

} // namespace

class TestQvtool : public QObject
{
    Q_OBJECT

private:
    void Start(QString arguments, const QString& before = {})
    {
        const QString host = server_.Url({}).authority();
        arguments.replace("SECRET", "http://user:word@" + host).replace("URL", "http://" + host);
        process_.setReadChannel(QProcess::StandardError);
        process_.start("sh", {"-c", before + "exec " QVTOOL_PATH " " + arguments});
    }

    // The exit code; of a crash the signal, below 0. The event loop goes on meanwhile, for the server.
    int End()
    {
        process_.closeWriteChannel();
        if (!QTest::qWaitFor([&] { return process_.state() == QProcess::NotRunning; }, 60000))
            qFatal("qvtool hangs");
        out_ = process_.readAllStandardOutput();
        error_ = process_.readAllStandardError();
        return process_.exitStatus() == QProcess::CrashExit ? -process_.exitCode()
                                                            : process_.exitCode();
    }

    int Run(const QString& arguments, const QByteArray& input = {}, const QString& before = {})
    {
        Start(arguments, before);
        process_.write(input);
        return End();
    }

    static bool OldIsAllThereIs()
    {
        return ContentOf("old") == "precious" &&
               QDir().entryList({".qvtool*"}, QDir::AllEntries | QDir::Hidden).isEmpty();
    }

    ScriptedServer server_;
    std::optional<CurrentTree> tree_;
    QProcess process_;
    QByteArray out_;
    QByteArray error_;

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("DISPLAY", ":none");
        for (const int signal : {SIGINT, SIGHUP})
            std::signal(signal, SIG_DFL); // a background job ignores it
        server_.Script("/ok", {Reply::Ok("body")});
        server_.Script("/chunks", {With(Reply::Ok("body"), &Reply::chunked, true)});
        server_.Script("/cut", {Cut("body and more", 4)});
        server_.Script("/empty", {Reply::Status(204, "No Content")});
        server_.Script("/gone", {Reply::Status(410, "Gone\033[2J", "a\033page\n")});
        server_.Script("/large", {Reply::Ok(QByteArray(100000, 'x'))});
        server_.Script("/drip", {Drip(QByteArray(1000, 'x'), 1, 20)});
        server_.Script("/moved", {Reply{302, "Found", {{"Location", "/ok"}}, "page"}});
    }

    void init()
    {
        tree_.emplace(QStringList{"old=precious", "key=key", "tree/f=1", "tree/a/g=2",
                                  "tree/a/l->g", "tree/empty/", "kept/f=1", "kept/.hidden=2",
                                  "fifo|"});
    }

    void commands_data()
    {
        AddCases<Case>({
            {"help get", 0, "Usage: qvtool get .*--header <NAME=VALUE> .*128 plus the number.*"},
            {"encrypt secret", 2, "", "1 argument too many"},
            {"get --log-file none/log URL/ok", 2, "", "log': No such file or directory"},
            {"get --log-config none URL/ok", 2, "", "'none' is not a property file"},
            {"get --form a=1 --form a=2 URL/ok", 2, "", "--form is given twice for 'a'"},
            {"get SECRET/missing", 1, "", "/missing: 404 Not Found"},
            {"get URL/gone", 1, "", "a\\x1bpage\nqvtool get: "},
            {"get URL/ok --form a=1 --log debug", 0, "body", "Sending GET request to URL="},
            {"get URL/moved", 0, "body"},
            {"get URL/ok >/dev/full", 1, "", "cannot write to standard output"},
            {"post URL/moved", 1, "", "redirected to /ok"},
            {"post --json x --form a=b URL/ok", 2, "", "exclude each other"},
            {"post --json - URL/ok", 1, "", "'-' is not JSON: ", "{\"a\":"},
            {"download URL/ok", 2, "", "FILE is missing"},
            {"download --md5 12xy URL/ok f", 2, "", "--md5 takes 32 hexadecimal digits"},
            {"download URL/ok tree", 1, "", "it is a directory"},
            {"download URL/empty old", 1, "", "the server sent no file, but status 204 No Content"},
            {"download URL/ok old --size 5", 1, "", "Expected 5 bytes, downloaded 4 bytes."},
            {"download SECRET/cut old", 1, "", "/cut: "},
            {"download URL/ok - --size 4", 0, "body"},
            {"download URL/ok /dev/stdout | cat", 0, "body"},
            {"download URL/ok /dev/null --json", 0, "\\{\"file\":.*\"md5\":.*\"size\":4\\}\n"},
            {"download URL/ok fifo --quiet & cat fifo; wait $! && test -p fifo", 0, "body"},
            {"copy old ./old new/", 1, "", "has the same destination"},
            {"remove --yes \"$PWD\"", 1, "", "it holds the current directory"},
            {"remove --yes tree/a/../", 1, "", "cannot remove 'tree/a/../': its name is '..'"},
            {"remove tree", 1, "", "nothing removed: not confirmed", "no\n"},
            {"remove --yes kept fifo tree", 1, "",
             "(Directory not empty)\nqvtool remove: 8 of 9 items removed, 1 hidden entry left out"},
            {"parse --json skype:X", 0, ".*\"kind\":3,.*\"number\":\"skype: x@skype.com\".*\n"},
            {"parse", 3, ".*kind +2 \\(SIP address\\)\n.*\n\n.*user +a\\\\x1b\n.*", "",
             "<sip:a@b.c>\na\033"},
            {"encrypt --key-file key", 0, "O3uX6IaI38D\\+oHmVP\\+JedQ==\n", "", "secret"},
            {"decrypt --key-file key", 0, "secret\n", "", "O3uX6IaI38D+oHmVP+JedQ=="},
            {"decrypt --key-file key", 1, "", "the key is wrong", "P3uX6IaI38D+oHmVP+JedQ=="},
            {"encrypt <&-", 1, "", "cannot read standard input"},
            {"compare 1.9 1-10", 3, "1.9.0.0 < 1.10.0.0\n"},
            {"compare 2 1.9.9", 4, "2.0.0.0 > 1.9.9.0\n"},
            {"device-id --log-file log", 0, "[0-9a-f]{32}\n"},
            {"reveal none", 1, "", "none': it does not exist"},
            {"idle", 1, "", "screen-saver extension (DISPLAY is ':none')"},
            {"demo", 0, ".*All 10 steps ended as they should.*"},
        });
    }

    void commands()
    {
        const Case& row = CurrentCase<Case>();
        QCOMPARE(Run(row.name, row.input), row.code);
        const QRegularExpression out("\\A(" + row.out + ")\\z",
                                     QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(out.match(out_).hasMatch(), out_.constData());
        QVERIFY2(error_.contains(row.error) && !error_.contains("word"), error_.constData());
        QVERIFY(OldIsAllThereIs());
    }

    void getAndPost()
    {
        const auto sent = [&] {
            return server_.Requests().last();
        };
        QCOMPARE(Run("get URL/ok --form q=a=b --header X-A=1"), 0);
        QCOMPARE(sent().target + sent().Header("X-A"), QByteArray("/ok?q=a%3Db1"));
        const QByteArray json = " {\"b\": 9007199254740993}\n";
        QCOMPARE(Run("post URL/ok --json -", json), 0);
        QCOMPARE(sent().Header("Content-Type") + sent().body, "application/json" + json);
        QCOMPARE(Run("post URL/ok --part t=x --file f=old"), 0);
        QVERIFY(sent().body.contains("\r\n\r\nprecious\r\n"));

        const QString proxy = "export http_proxy=" + server_.Url({}).authority() + "; ";
        server_.Script("http://service.test/ok", {Reply::Ok("by proxy")});
        QCOMPARE(Run("get http://service.test/ok", {}, proxy), 0);
        QCOMPARE(out_, QByteArray("by proxy"));
        QCOMPARE(Run("get http://service.test/ok", {}, proxy + "export NO_PROXY='*'; "), 1);
    }

    void downloadReplacesAFileOnceItIsVerified()
    {
        const QString longName(255, 'n');
        QVERIFY(QFile::setPermissions("old", QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(QFile::link("old", "link"));
        QCOMPARE(Run("download URL/chunks link"), 0);
        QVERIFY(error_.contains("the server announced no size"));
        QVERIFY(QFileInfo("link").isSymLink() && !(QFile::permissions("old") & QFile::ReadGroup));
        QCOMPARE(ContentOf("old"), QByteArray("body"));
        QCOMPARE(Run("download --quiet URL/ok new/" + longName), 0);
        QCOMPARE(ContentOf("new/" + longName) + out_ + error_, QByteArray("body"));

        QCOMPARE(Run("download URL/large link", {}, "ulimit -f 1; "), 1);
        QVERIFY(error_.contains("could be written, is the disk full?") &&
                ContentOf("old") == "body");
    }

    void copyAndRemove()
    {
        QCOMPARE(Run("copy tree old kept copies"), 0);
        QCOMPARE(out_ + error_, // no progress in a pipe
                 QByteArray("5 items copied, 1 hidden entry, 1 empty folder left out\n"));
        QVERIFY(Run("copy tree/a/l copies/link --json") == 0 && out_.startsWith("{\"copied\":1,"));
        const QStringList copied = {"kept/",   "kept/f=1",   "link->g",     "old=precious", "tree/",
                                    "tree/a/", "tree/a/g=2", "tree/a/l->g", "tree/f=1"};
        QCOMPARE(DescribeTree("copies"), copied);
        QCOMPARE(Run("remove copies/tree copies/link", "y\n"), 0);
        QCOMPARE(out_, QByteArray("6 items removed\n"));
        QCOMPARE(Run("remove --yes --quiet copies"), 0);
        QVERIFY(out_.isEmpty() && !QFile::exists("copies") && QFile::exists("tree/a/g"));
    }

    void interrupt_data()
    {
        AddCases<Case>({
            {"get URL/drip", 130, "", "/drip: no reply was received"},
            {"download URL/drip old", 129, "", "old' was not written"},
            {"copy many few --log debug", 130, "", " of 700 items copied"},
        });
    }

    // What is found goes through the pipe, but not what is copied: that cannot end until it is read.
    void interrupt()
    {
        const Case& row = CurrentCase<Case>();
        const bool copies = QString(row.name).startsWith("copy");
        QStringList files;
        for (int i = 0; i < 700; ++i)
            files << QString("many/%1=%1").arg(i);
        MakeTree(".", files);
        const int hits = server_.Requests().size();
        Start(row.name);
        while (server_.Requests().size() == hits && process_.bytesAvailable() == 0 &&
               QDir("few").isEmpty())
            copies ? QThread::msleep(1) : QTest::qWait(1);
        ::kill(static_cast<pid_t>(process_.processId()), row.code - 128);
        QCOMPARE(End(), row.code);
        QVERIFY2(error_.contains("interrupted: ") && error_.contains(row.error),
                 error_.right(200).constData());
        QVERIFY(OldIsAllThereIs() && QFile::exists("tree/f"));
        const int copied = DescribeTree("few").size();
        const QByteArray howFar = " " + QByteArray::number(copied) + " of ";
        QVERIFY(!copies || (copied > 0 && copied < 700 && error_.contains(howFar)));
    }

    void idle()
    {
        RunOnXServer();
        QCOMPARE(Run("idle --count 2"), 0);
        qputenv("DISPLAY", ":none");
        QCOMPARE(QString(out_).remove(QRegularExpression("\\d+ s")), QString("X11: \nX11: \n"));
    }
};

QTEST_GUILESS_MAIN(TestQvtool)
#include "tst_qvtool.moc"
