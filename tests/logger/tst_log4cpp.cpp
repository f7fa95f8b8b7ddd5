#include <common/logger/l4cpp/logger.h>
#include <common/logger/log.h>
#include <common/logger/logger.h>

#include "support/cases.h"
#include "support/tree.h"

#include <log4cpp/Appender.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/LayoutAppender.hh>
#include <log4cpp/PatternLayout.hh>

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <limits>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include <sys/stat.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

using namespace common::logger;

namespace {

constexpr ICategory logCategory{"test.category"};
constexpr char logSource[] = "tests/logger/tst_log4cpp";

constexpr char plainPattern[] = "%p %c: %m%n";

void Append(IMessage::Priority level, const QString& text, const ICategory* category = &logCategory,
            const char* file = "src/file", const char* function = "Load")
{
    Message(GetLogger(), category, level, file, function, 40) << text;
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

struct LayoutCase
{
    const char* name;
    unsigned format;
    QString pattern;
    QString line;
};

int OpenFiles()
{
    return static_cast<int>(QDir("/proc/self/fd").count());
}

struct Program
{
    explicit Program(const QStringList& arguments)
    {
        QProcess process;
        process.start(LOGCLIENT_PATH, arguments);
        if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit)
            code = process.exitCode();
        out = Lines(process.readAllStandardOutput());
        err = Lines(process.readAllStandardError());
    }

    static QStringList Lines(const QByteArray& text)
    {
        return QString::fromUtf8(text).split('\n', Qt::SkipEmptyParts);
    }

    int code = -1;
    QStringList out;
    QStringList err;
};

} // namespace

class TestLog4cpp : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir directory_;
    l4cpp::Logger* logger_ = nullptr;
    QString path_;

    QString Path(const QString& name) const { return directory_.filePath(name); }

    static QStringList LinesOf(const QString& path)
    {
        return QFile::exists(path) ? Program::Lines(ContentOf(path)) : QStringList();
    }

    QStringList Lines() const { return LinesOf(path_); }

    QString WriteConfig(const QByteArray& content) const
    {
        WriteFile(Path("config"), content);
        return Path("config");
    }

    QByteArray FileAppender(const QByteArray& type) const
    {
        return "appender.A=" + type + "\nappender.A.fileName=" + Path("log").toLocal8Bit() +
               "\nappender.A.layout=PatternLayout\n";
    }

    void Configure(unsigned outputs, unsigned format = patternFormat,
                   const QString& pattern = plainPattern,
                   IMessage::Priority level = IMessage::DEBUG, const QString& configFile = {},
                   unsigned long size = 1 << 30, int backups = 1)
    {
        QVERIFY(logger_->Configure(level, outputs, format, pattern, "qt", configFile, path_, size,
                                   backups));
    }

private Q_SLOTS:
    void initTestCase()
    {
        umask(0); // what is closed, the logger closes
        logger_ = l4cpp::Logger::Instance();
        QCOMPARE(GetLog4cpp(), logger_);
        SetLogger(logger_);
    }

    void init() { path_ = Path("log"); }

    void cleanup()
    {
        Configure(0);
        QFile::remove(path_);
    }

    void layouts_data()
    {
        const QString basic = "\\A\\d+ WARN test\\.category : text\\z";
        AddCases<LayoutCase>({
            {"built in", patternFormat | positionFormat | functionFormat, "",
             "\\A\\d{4}\\.m\\.\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}   WARN \\[ *\\d+\\] "
             "test\\.category: "
             "text \\(Load: file: src/file\\(40\\)\\)\\z"},
            {"pattern first", patternFormat | basicFormat | simpleFormat, "%m%n", "\\Atext\\z"},
            {"basic before simple", basicFormat | simpleFormat, "%m%n", basic},
            {"simple", simpleFormat, "%m%n", "\\AWARN +: text\\z"},
            {"the appender's own", 0, "%m%n", basic},
            {"refused pattern", patternFormat, "%m%!%n", basic},
            {"cut pattern", patternFormat, "%m%", basic},
            {"date too long", patternFormat, "%d{" + QString("%Y").repeated(30) + "}", basic},
            {"by its milliseconds", patternFormat, "%d{" + QString(97, 'x') + "%l}", basic},
            {"in September", patternFormat, "%d{" + QString("%B").repeated(12) + "}", basic},
            {"by an unfinished conversion", patternFormat, "%d{%100}", basic},
            {"without an end", patternFormat, "%5d{" + QString("%Y").repeated(30), basic},
            {"padding beyond memory", patternFormat, "%2000000000m", basic},
            {"long date", patternFormat, "%10d{" + QString("%Y").repeated(20) + "}%n",
             "\\A\\d{80}\\z"},
        });
    }

    void layouts()
    {
        const auto& row = CurrentCase<LayoutCase>();
        Configure(fileOutput, row.format, row.pattern);
        Append(IMessage::WARN, "text");
        QCOMPARE(Lines().size(), 1);
        QVERIFY2(QRegularExpression(row.line).match(Lines()[0]).hasMatch(), qPrintable(Lines()[0]));
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
            QFile::resize(path_, 0);
            logger_->SetLevel(static_cast<IMessage::Priority>(level));
            QCOMPARE(logger_->GetLevel(), IMessage::NOTSET);
            for (int priority = 0; priority <= 8; ++priority)
                Append(static_cast<IMessage::Priority>(priority), "x");
            QCOMPARE(Lines(), names.mid(0, level + 1));
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
        log4cpp::Category& parent = log4cpp::Category::getInstance("dropped");
        Configure(fileOutput);
        QVERIFY(logged(child));
        logger_->SetLevel(IMessage::INFO);
        QVERIFY(!logged(child) && !logged(logCategory));
        parent.setPriority(log4cpp::Priority::DEBUG);
        QVERIFY(logged(child) && !logged(logCategory));
        QCOMPARE(Lines().size(), count);
        QVERIFY(logger_->Configure(
            WriteConfig("rootCategory=DEBUG\ncategory.dropped.by.default=INFO\n")));
        QVERIFY(!logged(child) && logged(logCategory));
        parent.setPriority(log4cpp::Priority::NOTSET);
        log4cpp::Category::getInstance(child.name).setPriority(log4cpp::Priority::NOTSET);
    }

    void categories()
    {
        using log4cpp::Category;
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
        const auto log = [&](const char* text) {
            Append(IMessage::INFO, text);
        };
        log("1");
        const int before = OpenFiles();
        logger_->SetFileLoggingEnabled(false);
        logger_->SetFileLoggingEnabled(false);
        QCOMPARE(OpenFiles(), before - 1);
        log("lost");
        logger_->SetFileLoggingEnabled(true);
        logger_->SetFileLoggingEnabled(true);
        log("2");
        Configure(fileOutput); // the same file once more
        log("3");
        logger_->SetFileLoggingEnabled(false);
        Configure(rollingFileOutput | fileOutput);
        log("4");
        QCOMPARE(log4cpp::Category::getRoot().getAllAppenders().size(), size_t(1));
        QVERIFY(log4cpp::Category::getRoot().getAppender("rollingfile"));
        Configure(0);
        log("lost");
        const QString prefix = "INFO test.category: ";
        QCOMPARE(Lines(), QStringList({prefix + "1", prefix + "2", prefix + "3", prefix + "4"}));
        QVERIFY(!(QFile::permissions(path_) & (QFile::WriteGroup | QFile::WriteOther)));
    }

    void propertyFileComesFirst()
    {
        const QString config = WriteConfig("rootCategory=WARN, A\ncategory.test.category=DEBUG\n" +
                                           FileAppender("FileAppender") +
                                           "appender.A.layout.ConversionPattern=%c-%m%n\n");
        const QString logFile = std::exchange(path_, Path("unused"));
        Configure(fileOutput, positionFormat, plainPattern, IMessage::EMERG, config);
        QVERIFY(!QFile::exists(path_));
        path_ = logFile;
        const int before = OpenFiles();
        for (int again = 0; again < 5; ++again)
            QVERIFY(logger_->Configure(config));
        QCOMPARE(OpenFiles(), before);
        const ICategory other{"other"};
        Append(IMessage::DEBUG, "a");
        Append(IMessage::INFO, "lost", &other);
        Append(IMessage::WARN, "b", &other, nullptr);
        QCOMPARE(Lines(), QStringList({"test.category-a (file: src/file(40))", "other-b"}));
        log4cpp::Category::getRoot().removeAllAppenders();
        log4cpp::Category::getInstance("test.category").setPriority(log4cpp::Priority::NOTSET);
    }

    void brokenPropertyFileFallsBack()
    {
        [[maybe_unused]] const LeaksAreForgiven forgiven;
        const QByteArray pattern = "rootCategory=INFO, A\nappender.A=ConsoleAppender\n"
                                   "appender.A.layout=PatternLayout\n"
                                   "appender.A.layout.ConversionPattern=";
        for (const QByteArray& content :
             {QByteArray(), QByteArray("\0\xFF garbage\n====\n", 16),
              QByteArray("rootCategory=INFO, A\nappender.A=Nonsense\n"), pattern + "%!\n",
              pattern + "%9999999999m\n",
              "rootCategory=DEBUG, A\n" + FileAppender("RollingFileAppender") +
                  "appender.A.maxFileSize=1\nappender.A.maxBackupIndex=-1\ncategory.x=LOUD\n"}) {
            const QString config = WriteConfig(content);
            for (const QString& file : {config, QString(), Path("missing"), directory_.path()})
                QVERIFY2(!logger_->Configure(file), content.constData());
            Configure(fileOutput, patternFormat, plainPattern, IMessage::DEBUG, config);
            Append(IMessage::INFO, "text");
            QCOMPARE(Lines(), QStringList("INFO test.category: text"));
            cleanup();
        }
    }

    // log4cpp knows it by then, whatever has become of it.
    void propertyFileNamesAnAppenderOfAnEarlierOne()
    {
        for (const QByteArray& content :
             {"rootCategory=INFO, A\n" + FileAppender("FileAppender") +
                  "appender.A.layout.ConversionPattern=%m%n\n",
              QByteArray("rootCategory=INFO, B\nappender.B=ConsoleAppender\n"
                         "appender.B.layout=SimpleLayout\n"),
              QByteArray("rootCategory=INFO, A\n")})
            QVERIFY(logger_->Configure(WriteConfig(content)));
        Append(IMessage::INFO, "text", &logCategory, nullptr);
        QCOMPARE(Lines(), QStringList("text"));
        log4cpp::Category::getRoot().removeAllAppenders();
    }

    void rollingFileKeepsLimits()
    {
        Configure(rollingFileOutput, patternFormat, "%m%n", IMessage::DEBUG, {}, 1000, 3);
        for (int i = 0; i < 200; ++i)
            Append(IMessage::INFO, QString::number(i).rightJustified(49, '.'));
        QStringList lines;
        for (const char* suffix : {".4", ".3", ".2", ".1", ""})
            lines += LinesOf(path_ + suffix);
        QCOMPARE(lines.size(), 60); // three whole files, and a new one
        for (int i = 0; i < lines.size(); ++i)
            QCOMPARE(lines[i], QString::number(140 + i).rightJustified(49, '.'));
        for (int backups : {-7, std::numeric_limits<int>::max()}) {
            Configure(rollingFileOutput, patternFormat, "%m%n", IMessage::DEBUG, {}, 10, backups);
            Append(IMessage::INFO, "comes back");
        }
        QVERIFY(logger_->Configure(
            WriteConfig("rootCategory=INFO, A\n" + FileAppender("RollingFileAppender") +
                        "appender.A.maxFileSize=1\nappender.A.maxBackupIndex=-1\n")));
        Append(IMessage::INFO, "rolled");
        QCOMPARE(LinesOf(path_ + ".1").size(), 1);
        log4cpp::Category::getRoot().removeAllAppenders();
    }

    void threadsDoNotMixLines()
    {
        Configure(rollingFileOutput, patternFormat, "%m%n", IMessage::DEBUG, {}, 2 << 20, 50);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 8; ++thread) {
            threads.emplace_back([thread] {
                for (int line = 0; line < 20000; ++line)
                    QVLOG_FROM("run", INFO)
                        << thread << ' ' << line << ' ' << QString(line % 80, '=') << '.';
            });
        }
        for (std::thread& thread : threads)
            thread.join();

        std::vector<int> next(8, 0);
        for (int backup = 50; backup >= 0; --backup) {
            const QString name =
                path_ + (backup ? QString(".%1").arg(backup, 2, 10, QChar('0')) : "");
            QVERIFY(backup != 3 || QFile::exists(name)); // it was rolled
            for (const QString& line : LinesOf(name)) {
                const QString thread = line.section(' ', 0, 0);
                const int number = next[thread.toUInt()]++;
                QCOMPARE(
                    line,
                    QString("%1 %2 %3.").arg(thread).arg(number).arg(QString(number % 80, '=')));
            }
            QFile::remove(name);
        }
        QCOMPARE(next, std::vector<int>(8, 20000));
    }

    void qtMessages()
    {
        Configure(fileOutput, patternFormat | positionFormat | functionFormat);
        logger_->EnablePosition(false);
        qDebug("d");
        qInfo("i");
        qWarning("w");
        qCritical("c");
        l4cpp::Logger::MessageHandler(QtFatalMsg, QMessageLogContext("f.cpp", 7, "F", "any"), "f");
        logger_->EnablePosition(true);
        l4cpp::Logger::MessageHandler(QtWarningMsg, QMessageLogContext("f.cpp", 7, "F", "any"),
                                      "where");
        QCOMPARE(Lines(), QStringList({"DEBUG qt: d", "DEBUG qt: i", "WARN qt: w", "ERROR qt: c",
                                       "CRIT qt: f", "WARN qt: where (F: file: f.cpp(7))"}));
        QVERIFY(l4cpp::Logger::GetDeafaultMessageHandler() != l4cpp::Logger::MessageHandler);
    }

    void whatLoggingSaysThroughQtIsNotLogged()
    {
        Configure(fileOutput);
        TalkingAppender appender;
        log4cpp::Category::getRoot().addAppender(appender);
        QTest::ignoreMessage(QtWarningMsg, "from the appender");
        Append(IMessage::INFO, "text");
        log4cpp::Category::getRoot().removeAppender(&appender);

        QCOMPARE(Lines().size(), 1);
    }

    void logsUpToTheEndOfTheProcess()
    {
        const Program client = Program({path_});
        QCOMPARE(client.code, 0);
        const QStringList expected = {"INFO client: in main", "ERROR qt: in main, by Qt",
                                      "ERROR client: before the backend",
                                      "WARN qt: before the backend, by Qt"};
        QCOMPARE(Lines(), expected);
        QCOMPARE(client.out, expected);
        QCOMPARE(client.err, QStringList("after the backend, by Qt"));
    }

    void threadsMayLogWhileTheProcessExits()
    {
        for (int run = 0; run < 10; ++run)
            QCOMPARE(Program({"threads", path_}).code, 0);
    }

    void exitWaitsOnceForStatements()
    {
#if defined(__SANITIZE_THREAD__)
        QSKIP("the sanitizer sleeps a second at each exit");
#endif
        QElapsedTimer time;
        time.start();
        QCOMPARE(Program({"fork"}).code, 0);
        QVERIFY2(time.elapsed() < 1900, qPrintable(QString::number(time.elapsed())));
    }

    void fileThatCannotBeWrittenLeavesConsole()
    {
        for (const char* path : {"/no/such/directory/log", "/dev/full", "/"}) {
            const Program client = Program({path});
            QCOMPARE(client.code, 0);
            QCOMPARE(client.out.size(), 4);
        }
    }

    // With a handler of the client, and with one that is installed already.
    void defaultLoggerAndQtDoNotLoop()
    {
        for (const QStringList& arguments : {QStringList{"loop"}, QStringList{"loop", "itself"}}) {
            const Program client(arguments);
            QCOMPARE(client.code, 0);
            QCOMPARE(client.err.size(), 4); // two of them from the static object
            const QRegularExpression line("^client: [\\d.]{10} [\\d:.]{12}: once $");
            QVERIFY2(line.match(client.err[0]).hasMatch(), qPrintable(client.err[0]));
            QVERIFY2(client.err[1].endsWith(": twice "), qPrintable(client.err[1]));
        }
    }
};

QTEST_GUILESS_MAIN(TestLog4cpp)
#include "tst_log4cpp.moc"
