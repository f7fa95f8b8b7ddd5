#include <common/logger/l4cpp/logger.h>
#include <common/logger/log.h>
#include <common/logger/logger.h>

#include "support/tree.h"

#include <log4cpp/Category.hh>
#include <log4cpp/LayoutAppender.hh>
#include <log4cpp/PatternLayout.hh>

#include <QtTest>

#include <memory>
#include <thread>

#include <sys/stat.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

using namespace common::logger;
using log4cpp::Category;

namespace {

constexpr ICategory logCategory{"test.category"};
constexpr char logSource[] = "tests/logger/tst_log4cpp";

void Append(IMessage::Priority level, const QString& text, const ICategory* category = &logCategory)
{
    Message(GetLogger(), category, level, "src/file", "Load", 40) << text;
}

// log4cpp leaks what it has made by the time it refuses a property file.
struct LeaksAreForgiven
{
#if defined(__SANITIZE_ADDRESS__)
    __lsan::ScopedDisabler disabler;
#endif
};

// Speaks through Qt whenever it is given a line.
struct TalkingAppender : log4cpp::LayoutAppender
{
    TalkingAppender() : LayoutAppender("talking") {}
    void close() override {}
    void _append(const log4cpp::LoggingEvent&) override { qWarning("from the appender"); }
};

QStringList LinesOf(const QString& path)
{
    return QString(ContentOf(path)).split('\n', Qt::SkipEmptyParts);
}

// The exit code of logclient, which writes to the files "out" and "err".
int RunClient(const QStringList& arguments)
{
    QProcess process;
    process.setStandardOutputFile("out");
    process.setStandardErrorFile("err");
    process.start(LOGCLIENT_PATH, arguments);
    const bool isOver = process.waitForFinished();
    return isOver && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

} // namespace

class TestLog4cpp : public QObject
{
    Q_OBJECT

private:
    const CurrentTree tree_;
    l4cpp::Logger* logger_ = nullptr;
    const QByteArray fileAppender_ = "A\nappender.A=RollingFileAppender\nappender.A.fileName=log\n"
                                     "appender.A.layout=PatternLayout\n";

    void Configure(unsigned outputs, unsigned format = patternFormat,
                   const QString& pattern = "%p %c: %m%n", unsigned long size = 1 << 30,
                   int backups = 1, const QString& config = {})
    {
        QVERIFY(logger_->Configure(IMessage::DEBUG, outputs, format, pattern, "qt", config, "log",
                                   size, backups));
    }

    bool ConfigureBy(const QByteArray& config)
    {
        WriteFile("config", config);
        return logger_->Configure("config");
    }

private Q_SLOTS:
    void initTestCase()
    {
        umask(0);                            // what is closed, the logger closes
        logger_ = l4cpp::Logger::Instance(); // not before: it takes over Qt's messages
        QCOMPARE(GetLog4cpp(), logger_);
        SetLogger(logger_);
    }

    void cleanup()
    {
        Category::getRoot().removeAllAppenders();
        Configure(0);
        for (const QString& name : QDir().entryList({"log*"}))
            QFile::remove(name);
    }

    void layouts()
    {
        const QString basic = "\\d+ WARN test\\.category : text";
        for (const auto& [format, pattern, line] :
             std::vector<std::tuple<unsigned, QString, QString>>{
                 {patternFormat | positionFormat | functionFormat, "",
                  "\\d{4}\\.m\\.\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}   WARN \\[ *\\d+\\] "
                  "test\\.category: text \\(Load: file: src/file\\(40\\)\\)"},
                 {patternFormat | basicFormat | simpleFormat, "%m%n", "text"},
                 {basicFormat | simpleFormat, "%m%n", basic},
                 {simpleFormat, "%m%n", "WARN +: text"},
                 {0, "%m%n", basic},
                 // What log4cpp refuses, or would not write whole.
                 {patternFormat, "%m%!%n", basic},
                 {patternFormat, "%m%", basic},
                 {patternFormat, "%d{" + QString("%Y").repeated(30) + "}", basic},
                 {patternFormat, "%d{" + QString(97, 'x') + "%l}", basic},
                 {patternFormat, "%d{" + QString("%B").repeated(12) + "}", basic}, // in September
                 {patternFormat, "%d{%100}", basic},
                 {patternFormat, "%5d{" + QString("%Y").repeated(30), basic},
                 {patternFormat, "%2000000000m", basic},
                 {patternFormat, "%10d{" + QString("%Y").repeated(20) + "}%n", "\\d{80}"},
             }) {
            Configure(fileOutput, format, pattern);
            Append(IMessage::WARN, "text");
            const QRegularExpression whole("\\A" + line + "\n\\z");
            QVERIFY2(whole.match(ContentOf("log")).hasMatch(), qPrintable(pattern));
            cleanup();
        }
    }

    // At moments in which dates change, and in two zones; fuzz/pattern tries any patterns.
    void linesAreThoseOfLog4cpp()
    {
        for (const QString pattern :
             {"%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n", "%d{a%l%S%l%%}", "%d{%E%l}",
              "%%12345|%%d{%%%m", "%d{%A %d %B %c}|%d{%s.%l}", "%d{DATE} %m",
              "%-30c|%030m|%-030m|%1m", "%10.5c|%.3m", "%c{1}", "%m{x}%n{y}", "%20d{%H:%M}|"}) {
            log4cpp::PatternLayout plain;
            plain.setConversionPattern(pattern.toStdString());
            const std::unique_ptr<log4cpp::Layout> layout(
                logger_->getLayout(patternFormat, pattern));
            for (const char* zone : {"Asia/Kathmandu", "Europe/Berlin"}) {
                qputenv("TZ", zone);
                tzset(); // log4cpp itself would not notice
                for (const unsigned second : {0u, 1u, 1761440399u, 1761440400u, 1795391999u}) {
                    log4cpp::LoggingEvent event("a.category", "text \u00e9 %d", "ndc", 400);
                    event.timeStamp = log4cpp::TimeStamp(second, second % 2 ? 999999 : 7000);
                    QCOMPARE(layout->format(event), plain.format(event));
                }
            }
        }
        qunsetenv("TZ");
        tzset();
    }

    void levels()
    {
        const QStringList names = {"FATAL", "ALERT",  "CRIT", "ERROR",
                                   "WARN",  "NOTICE", "INFO", "DEBUG"};
        Configure(fileOutput, patternFormat, "%p%n");
        for (int level : {0, 3, 7, 8, 12}) {
            QFile::resize("log", 0);
            logger_->SetLevel(static_cast<IMessage::Priority>(level));
            QCOMPARE(logger_->GetLevel(), IMessage::NOTSET);
            for (int priority = 0; priority <= 8; ++priority)
                Append(static_cast<IMessage::Priority>(priority), "x");
            QCOMPARE(LinesOf("log"), names.mid(0, level + 1));
        }
    }

    void droppedStatementEvaluatesNothing()
    {
        int count = 0;
        const auto logged = [&](const ICategory& category) {
            const int before = count;
            QVLOG_TO(category, DEBUG) << ++count; // NOLINT(bugprone-lambda-function-name)
            return count > before;
        };
        const ICategory child{"dropped.by.default"};
        Category& parent = Category::getInstance("dropped");
        Configure(fileOutput);
        QVERIFY(logged(child));
        logger_->SetLevel(IMessage::INFO);
        QVERIFY(!logged(child) && !logged(logCategory));
        parent.setPriority(log4cpp::Priority::DEBUG);
        QVERIFY(logged(child) && !logged(logCategory));
        QCOMPARE(LinesOf("log").size(), count);
        QVERIFY(ConfigureBy("rootCategory=DEBUG\ncategory.dropped.by.default=INFO\n"));
        QVERIFY(!logged(child) && logged(logCategory));
    }

    void categories()
    {
        QCOMPARE(&logger_->getCategory(nullptr), &Category::getRoot());
        for (int round = 0; round < 2; ++round) {
            // More names than are remembered, some of them at the same address in turn.
            for (int i = 0; i < 40; ++i) {
                const std::string name = "c" + std::string(size_t(i * 3), 'x') + std::to_string(i);
                const ICategory category{name.c_str()};
                QCOMPARE(&logger_->getCategory(&category), &Category::getInstance(name));
            }
        }
    }

    void fileLoggingIsSwitched()
    {
        logger_->SetFileLoggingEnabled(true); // without a file: nothing to do
        Configure(fileOutput);
        Append(IMessage::INFO, "1");
        const int before = EntriesOf("/proc/self/fd");
        for (const bool on : {false, false, true, true}) {
            logger_->SetFileLoggingEnabled(on);
            QCOMPARE(EntriesOf("/proc/self/fd"), on ? before : before - 1);
            Append(IMessage::INFO, on ? "2" : "lost");
        }
        Configure(fileOutput); // the same file once more
        Append(IMessage::INFO, "3");
        logger_->SetFileLoggingEnabled(false);
        Configure(rollingFileOutput | fileOutput);
        Append(IMessage::INFO, "4");
        QCOMPARE(Category::getRoot().getAllAppenders().size(), size_t(1));
        QVERIFY(Category::getRoot().getAppender("rollingfile"));
        Configure(0);
        Append(IMessage::INFO, "lost");
        QCOMPARE(LinesOf("log").replaceInStrings("INFO test.category: ", "").join(' '),
                 "1 2 2 3 4");
        QCOMPARE(QFile::permissions("log") & 0x7077, QFile::Permissions(0x6044));
    }

    void propertyFileComesFirst()
    {
        WriteFile("config", "rootCategory=WARN, " + fileAppender_ +
                                "appender.A.layout.ConversionPattern=%c-%m%n\n"
                                "category.test.category=DEBUG\n");
        Configure(consoleOutput, positionFormat, "%m%n", 0, 0, "config");
        QCOMPARE(Category::getRoot().getAllAppenders().size(), size_t(1));
        const int before = EntriesOf("/proc/self/fd");
        for (int again = 0; again < 5; ++again)
            QVERIFY(logger_->Configure("config"));
        QCOMPARE(EntriesOf("/proc/self/fd"), before);
        const ICategory other{"other"};
        Append(IMessage::DEBUG, "a");
        Append(IMessage::INFO, "lost", &other);
        Append(IMessage::WARN, "b", &other);
        // log4cpp knows the appender by now, whatever becomes of it.
        QVERIFY(ConfigureBy("rootCategory=INFO, B\nappender.B=ConsoleAppender\n"
                            "appender.B.layout=SimpleLayout\n"));
        QVERIFY(ConfigureBy("rootCategory=WARN, A\n"));
        Append(IMessage::WARN, "c", &other);
        const QString position = " (file: src/file(40))";
        QCOMPARE(LinesOf("log"), QStringList({"test.category-a" + position, "other-b" + position,
                                              "other-c" + position}));
        Category::getInstance(logCategory.name).setPriority(log4cpp::Priority::NOTSET);
    }

    void brokenPropertyFileFallsBack()
    {
        [[maybe_unused]] const LeaksAreForgiven forgiven;
        const QByteArray pattern = "rootCategory=INFO, A\nappender.A=ConsoleAppender\n"
                                   "appender.A.layout=PatternLayout\n"
                                   "appender.A.layout.ConversionPattern=";
        QVERIFY(!logger_->Configure("") && !logger_->Configure("missing"));
        for (const QByteArray& content :
             {QByteArray(), QByteArray("\0\xFF garbage\n====\n", 16),
              QByteArray("rootCategory=INFO, A\nappender.A=Nonsense\n"), pattern + "%!\n",
              pattern + "%9999999999m\n",
              "rootCategory=DEBUG, " + fileAppender_ +
                  "appender.A.maxFileSize=1\nappender.A.maxBackupIndex=-1\ncategory.x=LOUD\n"}) {
            QVERIFY2(!ConfigureBy(content), content.constData());
            Configure(fileOutput, patternFormat, "%m%n", 0, 0, "config");
            Append(IMessage::INFO, "text");
            QCOMPARE(LinesOf("log"), QStringList("text"));
            cleanup();
        }
    }

    void rollingFileKeepsLimits()
    {
        Configure(rollingFileOutput, patternFormat, "%m%n", 1000, 3);
        for (int i = 0; i < 200; ++i)
            Append(IMessage::INFO, QString::number(i).rightJustified(49, '.'));
        QVERIFY(!QFile::exists("log.4"));
        const QStringList lines =
            LinesOf("log.3") + LinesOf("log.2") + LinesOf("log.1") + LinesOf("log");
        QCOMPARE(lines.size(), 60); // three whole files, and a new one
        for (int i = 0; i < lines.size(); ++i)
            QCOMPARE(lines[i], QString::number(140 + i).rightJustified(49, '.'));
        for (int backups : {-7, INT_MAX}) {
            Configure(rollingFileOutput, patternFormat, "%m%n", 10, backups);
            Append(IMessage::INFO, "comes back");
        }
        QVERIFY(ConfigureBy("rootCategory=INFO, " + fileAppender_ +
                            "appender.A.maxFileSize=1\nappender.A.maxBackupIndex=-1\n"));
        Append(IMessage::INFO, "rolled");
        QCOMPARE(LinesOf("log.1").size(), 1);
    }

    void threadsDoNotMixLines()
    {
        Configure(rollingFileOutput, patternFormat, "%m%n", 2 << 20, 50);
        QStringList expected[8];
        std::vector<std::thread> threads;
        for (QStringList& lines : expected) {
            for (int line = 0; line < 20000; ++line)
                lines << QString("%1 %2.").arg(&lines - expected).arg(line, line % 80);
            threads.emplace_back([&lines] {
                for (const QString& line : std::as_const(lines))
                    QVLOG_FROM("run", INFO) << line;
            });
        }
        for (std::thread& thread : threads)
            thread.join();

        QVERIFY(QFile::exists("log.03")); // it was rolled
        QStringList found[8];
        // "log" is the last one.
        for (const QString& name :
             QDir().entryList({"log*"}, QDir::Files, QDir::Name | QDir::Reversed)) {
            for (const QString& line : LinesOf(name))
                found[line.left(1).toInt()] << line;
        }
        for (int thread = 0; thread < 8; ++thread)
            QVERIFY(found[thread] == expected[thread]);
    }

    void qtMessages()
    {
        Configure(fileOutput, patternFormat | positionFormat | functionFormat);
        logger_->EnablePosition(false);
        qDebug("d");
        qInfo("i");
        qWarning("w");
        qCritical("c");
        const QMessageLogContext place("f.cpp", 7, "F", "any");
        l4cpp::Logger::MessageHandler(QtFatalMsg, place, "f");
        logger_->EnablePosition(true);
        l4cpp::Logger::MessageHandler(QtWarningMsg, place, "where");
        QCOMPARE(LinesOf("log"),
                 QStringList({"DEBUG qt: d", "DEBUG qt: i", "WARN qt: w", "ERROR qt: c",
                              "CRIT qt: f", "WARN qt: where (F: file: f.cpp(7))"}));
    }

    void whatLoggingSaysThroughQtIsNotLogged()
    {
        Configure(fileOutput);
        TalkingAppender appender;
        Category::getRoot().addAppender(appender);
        QTest::ignoreMessage(QtWarningMsg, "from the appender");
        Append(IMessage::INFO, "text");
        QCOMPARE(LinesOf("log").size(), 1);
        Category::getRoot().removeAppender(&appender);
    }

    void logsUpToTheEndOfTheProcess()
    {
        QCOMPARE(RunClient({"log"}), 0);
        const QStringList expected = {"INFO client: in main", "ERROR qt: in main, by Qt",
                                      "ERROR client: before the backend",
                                      "WARN qt: before the backend, by Qt"};
        QCOMPARE(LinesOf("log"), expected);
        QCOMPARE(LinesOf("out"), expected);
        QCOMPARE(LinesOf("err"), QStringList("after the backend, by Qt"));
        // A file that cannot be written leaves the console.
        for (const char* path : {"/no/such/directory/log", "/dev/full", "/"}) {
            QCOMPARE(RunClient({path}), 0);
            QCOMPARE(LinesOf("out"), expected);
        }
    }

    void threadMayLogWhileTheProcessExits()
    {
        for (int run = 1; run <= 10; ++run) {
            QCOMPARE(RunClient({"thread", "log"}), 0);
            QCOMPARE(ContentOf("log").count("late"), run);
        }
    }

    void exitWaitsOnceForStatements()
    {
#if defined(__SANITIZE_THREAD__)
        QSKIP("the sanitizer sleeps a second at each exit");
#endif
        QElapsedTimer time;
        time.start();
        QCOMPARE(RunClient({"log"}), 0);
        const qint64 start = time.restart();
        QCOMPARE(RunClient({"fork"}), 0);
        QCOMPARE(RunClient({"thread", "log"}), 0); // is soon over with its own
        const qint64 ends = time.elapsed() - 2 * start;
        QVERIFY2(ends < 1900, qPrintable(QString::number(ends)));
    }

    // With a handler of the client, and with one that is installed already.
    void defaultLoggerAndQtDoNotLoop()
    {
        for (const QStringList& arguments : {QStringList{"loop"}, QStringList{"loop", "itself"}}) {
            QCOMPARE(RunClient(arguments), 0);
            const QStringList lines = LinesOf("err");
            QCOMPARE(lines.size(), 4); // two of them from the static object
            const QRegularExpression line("^client: [\\d.]{10} [\\d:.]{12}: once $");
            QVERIFY2(line.match(lines[0]).hasMatch(), qPrintable(lines[0]));
            QVERIFY2(lines[1].endsWith(": twice "), qPrintable(lines[1]));
        }
    }
};

QTEST_GUILESS_MAIN(TestLog4cpp)
#include "tst_log4cpp.moc"
