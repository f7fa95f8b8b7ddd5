#include <common/logger/l4cpp/logger.h>
#include <common/logger/log.h>
#include <common/logger/logger.h>

#include "support/tree.h"

#include <log4cpp/Appender.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/LayoutAppender.hh>
#include <log4cpp/PatternLayout.hh>

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>
#include <memory>
#include <thread>
#include <vector>

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

// The same as a logger, past Qt's own guard.
struct TalkingLogger : common::logger::Logger
{
    void Append(const IMessage&) override
    {
        ++count;
        l4cpp::Logger::MessageHandler(QtWarningMsg, QMessageLogContext(), "from the logger");
    }

    int count = 0;
};

int OpenFiles()
{
    return static_cast<int>(QDir("/proc/self/fd").count());
}

struct Program
{
    int code;
    QStringList out;
    QStringList err;
};

Program RunClient(const QStringList& arguments)
{
    QProcess process;
    process.start(LOGCLIENT_PATH, arguments);
    const bool finished = process.waitForFinished();
    const auto lines = [](const QByteArray& text) {
        return QString::fromUtf8(text).split('\n', Qt::SkipEmptyParts);
    };
    return {finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            lines(process.readAllStandardOutput()), lines(process.readAllStandardError())};
}

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
        if (!QFile::exists(path))
            return {};
        return QString::fromUtf8(ContentOf(path)).split('\n', Qt::SkipEmptyParts);
    }

    QStringList Lines() const { return LinesOf(path_); }

    QString Write(const QString& name, const QByteArray& content) const
    {
        WriteFile(Path(name), content);
        return Path(name);
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

    // What the position looks like is the default logger's affair, too, and tested with that.
    void builtInPattern()
    {
        Configure(fileOutput, patternFormat | positionFormat | functionFormat, {});
        QVERIFY(logger_->IsPositionEnabled());
        Append(IMessage::ERROR, "grüß %s %1");
        Append(IMessage::INFO, "no file", nullptr, nullptr);

        const QStringList lines = Lines();
        QCOMPARE(lines.size(), 2);
        const QString stamp = "\\d{4}\\.m\\.\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}";
        const QRegularExpression first(
            "\\A" + stamp + "  ERROR \\[ *\\d+\\] test\\.category: " +
            QRegularExpression::escape("grüß %s %1 (Load: file: src/file(40))") + "\\z");
        QVERIFY2(first.match(lines[0]).hasMatch(), qPrintable(lines[0]));
        const QRegularExpression second("\\A" + stamp + "   INFO \\[ *\\d+\\] : no file\\z");
        QVERIFY2(second.match(lines[1]).hasMatch(), qPrintable(lines[1]));
    }

    void layouts_data()
    {
        QTest::addColumn<unsigned>("format");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("line");
        const QString basic = "\\A\\d+ WARN test\\.category : text\\z";
        QTest::newRow("pattern first") << (patternFormat | basicFormat | simpleFormat) << "%m%n"
                                       << "\\Atext\\z";
        QTest::newRow("basic before simple") << (basicFormat | simpleFormat) << "%m%n" << basic;
        QTest::newRow("simple") << simpleFormat << "%m%n"
                                << "\\AWARN +: text\\z";
        QTest::newRow("the appender's own") << 0x0u << "%m%n" << basic;
        QTest::newRow("refused pattern") << patternFormat << "%m%!%n" << basic;
        QTest::newRow("cut pattern") << patternFormat << "%m%" << basic;
        QTest::newRow("date too long")
            << patternFormat << "%d{" + QString("%Y").repeated(30) + "}" << basic;
        QTest::newRow("date too long by its milliseconds")
            << patternFormat << "%d{" + QString(97, 'x') + "%l}" << basic;
        QTest::newRow("date too long in September")
            << patternFormat << "%d{" + QString("%B").repeated(12) + "}" << basic;
        QTest::newRow("date too long by an unfinished conversion")
            << patternFormat << "%d{%100}" << basic;
        QTest::newRow("date too long without an end")
            << patternFormat << "%5d{" + QString("%Y").repeated(30) << basic;
        QTest::newRow("padding beyond memory") << patternFormat << "%2000000000m" << basic;
        QTest::newRow("long date") << patternFormat << "%10d{" + QString("%Y").repeated(20) + "}%n"
                                   << "\\A\\d{80}\\z";
    }

    void layouts()
    {
        QFETCH(unsigned, format);
        QFETCH(QString, pattern);
        QFETCH(QString, line);
        Configure(fileOutput, format, pattern);
        Append(IMessage::WARN, "text");
        QCOMPARE(Lines().size(), 1);
        QVERIFY2(QRegularExpression(line).match(Lines()[0]).hasMatch(), qPrintable(Lines()[0]));
    }

    void linesAreThoseOfLog4cpp_data()
    {
        QTest::addColumn<QString>("pattern");
        for (const char* pattern : {"%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n",
                                    "%d{%H:%M:%S}%m",
                                    "%d{%l}",
                                    "%d{a%l%S%l%%}",
                                    "%d{%E%l}",
                                    "%%12345|%%d{%%%m",
                                    "%d{%A %d %B %c}|%d{%s.%l}",
                                    "%d",
                                    "%d{}",
                                    "%d{ISO8601}|%d{ABSOLUTE}",
                                    "%d{DATE} %m",
                                    "%-30c|%030m|%-030m|%1m",
                                    "%10.5c|%.3m",
                                    "%c{1}",
                                    "%%%m%%",
                                    "%%{x}%m",
                                    "%m{x}%n{y}",
                                    "%20n",
                                    "%x%m",
                                    "%R %m",
                                    "plain",
                                    "%20d{%H:%M}|",
                                    "%-12p%-25t"})
            QTest::newRow(pattern) << pattern;
    }

    // The library's layout against log4cpp's, at moments in which dates change, and in two zones.
    void linesAreThoseOfLog4cpp()
    {
        QFETCH(QString, pattern);
        log4cpp::PatternLayout plain;
        plain.setConversionPattern(pattern.toStdString());
        const std::unique_ptr<log4cpp::Layout> layout(
            l4cpp::Logger::Instance()->getLayout(patternFormat, pattern));
        QVERIFY(layout);
        for (const char* zone : {"Asia/Kathmandu", "Europe/Berlin"}) {
            qputenv("TZ", zone);
            tzset(); // log4cpp itself would not notice
            for (const unsigned second :
                 {0u, 1u, 1761440399u, 1761440400u, 1795391999u, 1795392000u}) {
                for (const unsigned microsecond : {0u, 7000u, 999999u}) {
                    log4cpp::LoggingEvent event("a.category", "text \u00e9 %d", "ndc", 400);
                    event.timeStamp = log4cpp::TimeStamp(second, microsecond);
                    QCOMPARE(QString::fromStdString(layout->format(event)),
                             QString::fromStdString(plain.format(event)));
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
            Write("levels", "rootCategory=DEBUG\ncategory.dropped.by.default=INFO\n")));
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
        const ICategory nameless{nullptr};
        QVERIFY_EXCEPTION_THROWN(logger_->getCategory(&nameless), std::logic_error);

        Configure(fileOutput);
        logger_->getCategory(&logCategory) << IMessage::NOTICE << "streamed";
        QCOMPARE(Lines(), QStringList("NOTICE test.category: streamed"));
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
        const QString config = Write("good", "rootCategory=WARN, A\n"
                                             "category.test.category=DEBUG\n"
                                             "appender.A=FileAppender\n"
                                             "appender.A.fileName=" +
                                                 path_.toLocal8Bit() +
                                                 "\n"
                                                 "appender.A.layout=PatternLayout\n"
                                                 "appender.A.layout.ConversionPattern=%c-%m%n\n");
        const QString unused = path_;
        path_ = Path("unused");
        Configure(fileOutput, positionFormat, plainPattern, IMessage::EMERG, config);
        QVERIFY(!QFile::exists(path_));
        path_ = unused;
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

    void brokenPropertyFileFallsBack_data()
    {
        QTest::addColumn<QByteArray>("content");
        const auto row = [](const char* name, const QByteArray& content) {
            QTest::newRow(name) << content;
        };
        row("empty", "");
        row("no properties", QByteArray("\0\xFF garbage\n====\n", 16));
        row("no root", "category.a=INFO\n");
        row("unknown type", "rootCategory=INFO, A\nappender.A=Nonsense\n");
        row("unknown priority", "rootCategory=LOUD\n");
        row("after an appender was attached",
            "rootCategory=DEBUG, A\nappender.A=RollingFileAppender\nappender.A.fileName=LOG\n"
            "appender.A.layout=BasicLayout\nappender.A.maxFileSize=1\n"
            "appender.A.maxBackupIndex=-1\ncategory.x=LOUD\n");
        row("bad pattern", "rootCategory=INFO, A\nappender.A=ConsoleAppender\n"
                           "appender.A.layout=PatternLayout\n"
                           "appender.A.layout.ConversionPattern=%!\n");
        row("unwritable pattern", "rootCategory=INFO, A\nappender.A=ConsoleAppender\n"
                                  "appender.A.layout=PatternLayout\n"
                                  "appender.A.layout.ConversionPattern=%9999999999m\n");
    }

    void brokenPropertyFileFallsBack()
    {
        QFETCH(QByteArray, content);
        [[maybe_unused]] const LeaksAreForgiven forgiven;
        const QString config = Write("broken", content.replace("LOG", path_.toLocal8Bit()));
        QVERIFY(!logger_->Configure(config));
        Configure(fileOutput, patternFormat, plainPattern, IMessage::DEBUG, config);
        Append(IMessage::INFO, "text");
        QCOMPARE(Lines(), QStringList("INFO test.category: text"));
    }

    void propertyFileThatCannotBeRead()
    {
        for (const QString& config : {QString(), Path("missing"), directory_.path()})
            QVERIFY(!logger_->Configure(config));
    }

    // log4cpp knows it by then, whatever has become of it.
    void propertyFileNamesAnAppenderOfAnEarlierOne()
    {
        const QByteArray layout = ".layout=SimpleLayout\n";
        const QByteArray file =
            "appender.A=FileAppender\nappender.A.fileName=" + path_.toLocal8Bit() + "\nappender.A" +
            layout;
        for (const QByteArray& content : {"rootCategory=INFO, A\n" + file,
                                          "rootCategory=INFO, B\nappender.B=ConsoleAppender\n"
                                          "appender.B" +
                                              layout,
                                          QByteArray("rootCategory=INFO, A\n")})
            QVERIFY(logger_->Configure(Write("earlier", content)));
        Append(IMessage::INFO, "text");
        QCOMPARE(Lines(), QStringList("INFO    : text"));
        log4cpp::Category::getRoot().removeAllAppenders();
    }

    void negativeBackupsInPropertyFile()
    {
        QVERIFY(logger_->Configure(
            Write("negative", "rootCategory=INFO, A\nappender.A=RollingFileAppender\n"
                              "appender.A.fileName=" +
                                  path_.toLocal8Bit() +
                                  "\nappender.A.layout=BasicLayout\nappender.A.maxFileSize="
                                  "1\nappender.A.maxBackupIndex=-1\n")));
        Append(IMessage::INFO, "rolled");
        QVERIFY(LinesOf(path_ + ".1").value(0).endsWith(": rolled"));
        log4cpp::Category::getRoot().removeAllAppenders();
    }

    void rollingFileKeepsLimits()
    {
        Configure(rollingFileOutput, patternFormat, "%m%n", IMessage::DEBUG, {}, 1000, 3);
        for (int i = 0; i < 200; ++i)
            Append(IMessage::INFO, QString::number(i).rightJustified(49, '.'));
        QStringList lines;
        for (const char* suffix : {".3", ".2", ".1", ""}) {
            QVERIFY(QFile(path_ + suffix).size() <= 1000);
            lines += LinesOf(path_ + suffix);
        }
        QVERIFY(!QFile::exists(path_ + ".4"));
        QCOMPARE(lines.size(), 60); // three whole files, and a new one
        for (int i = 0; i < lines.size(); ++i)
            QCOMPARE(lines[i], QString::number(140 + i).rightJustified(49, '.'));
        for (int backups : {-7, std::numeric_limits<int>::max()}) {
            Configure(rollingFileOutput, patternFormat, "%m%n", IMessage::DEBUG, {}, 10, backups);
            Append(IMessage::INFO, "comes back");
        }
    }

    void threadsDoNotMixLines()
    {
        constexpr int threadCount = 8;
        constexpr int lineCount = 20000;
        Configure(rollingFileOutput, patternFormat, "%m%n", IMessage::DEBUG, {}, 2 << 20, 50);
        std::vector<std::thread> threads;
        threads.reserve(threadCount);
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([thread] {
                for (int line = 0; line < lineCount; ++line)
                    QVLOG_FROM("run", INFO)
                        << thread << ' ' << line << ' ' << QString(line % 80, '=') << '.';
            });
        }
        for (std::thread& thread : threads)
            thread.join();

        std::vector<int> next(threadCount, 0);
        int files = 0;
        for (int backup = 50; backup >= 0; --backup) {
            const QString name =
                path_ + (backup ? QString(".%1").arg(backup, 2, 10, QChar('0')) : "");
            const QStringList lines = LinesOf(name);
            files += !lines.isEmpty();
            for (const QString& line : lines) {
                const int thread = line.section(' ', 0, 0).toInt();
                const int number = next[size_t(thread)]++;
                QCOMPARE(
                    line,
                    QString("%1 %2 %3.").arg(thread).arg(number).arg(QString(number % 80, '=')));
            }
            if (backup)
                QFile::remove(name);
        }
        QVERIFY2(files > 3, "the file was rolled");
        QCOMPARE(next, std::vector<int>(threadCount, lineCount));
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
        TalkingAppender appender;
        log4cpp::Category::getRoot().addAppender(appender);
        QTest::ignoreMessage(QtWarningMsg, "from the appender");
        Append(IMessage::INFO, "text");
        log4cpp::Category::getRoot().removeAppender(&appender);

        TalkingLogger talking;
        SetLogger(&talking);
        QTest::ignoreMessage(QtWarningMsg, "from the logger");
        l4cpp::Logger::MessageHandler(QtWarningMsg, QMessageLogContext(), "text");
        SetLogger(logger_);
        QCOMPARE(talking.count, 1);
    }

    void logsUpToTheEndOfTheProcess()
    {
        const Program client = RunClient({path_});
        QCOMPARE(client.code, 0);
        const QStringList expected = {"INFO client: in main", "ERROR qt: in main, by Qt",
                                      "ERROR client: before the backend",
                                      "WARN qt: before the backend, by Qt"};
        QCOMPARE(Lines(), expected);
        QCOMPARE(client.out, expected);
        QCOMPARE(client.err, QStringList("after the backend, by Qt"));
    }

    void propertyFileHoldsToTheEnd()
    {
        const QString config = Write(
            "to the end", "rootCategory=DEBUG, A\nappender.A=FileAppender\nappender.A.fileName=" +
                              path_.toLocal8Bit() + "\nappender.A.layout=BasicLayout\n");
        const Program client = RunClient({"unused", config});
        QCOMPARE(client.code, 0);
        QCOMPARE(Lines().size(), 4);
        QVERIFY(client.out.isEmpty() && !QFile::exists("unused"));
    }

    void threadsMayLogWhileTheProcessExits()
    {
        for (int run = 0; run < 10; ++run) {
            const Program client = RunClient({"threads", path_});
            QCOMPARE(client.code, 0);
        }
    }

    void exitWaitsOnceForStatements()
    {
#if defined(__SANITIZE_THREAD__)
        QSKIP("the sanitizer sleeps a second at each exit");
#endif
        QElapsedTimer time;
        time.start();
        QCOMPARE(RunClient({"fork"}).code, 0);
        QVERIFY2(time.elapsed() < 1900, qPrintable(QString::number(time.elapsed())));
    }

    void fileThatCannotBeWrittenLeavesConsole()
    {
        for (const char* path : {"/no/such/directory/log", "/dev/full", "/"}) {
            const Program client = RunClient({path});
            QCOMPARE(client.code, 0);
            QCOMPARE(client.out.size(), 4);
        }
    }

    void defaultLoggerAndQtDoNotLoop_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("a handler of the client") << QStringList{"loop"};
        QTest::newRow("installed by the client already") << QStringList{"loop", "itself"};
    }

    void defaultLoggerAndQtDoNotLoop()
    {
        QFETCH(QStringList, arguments);
        const Program client = RunClient(arguments);
        QCOMPARE(client.code, 0);
        QCOMPARE(client.err.size(), 4); // two of them from the static object
        const QRegularExpression line("^client: [\\d.]{10} [\\d:.]{12}: once $");
        QVERIFY2(line.match(client.err[0]).hasMatch(), qPrintable(client.err[0]));
        QVERIFY2(client.err[1].endsWith(": twice "), qPrintable(client.err[1]));
    }

    // The last one: no logger after it takes in Qt's messages.
    void subclassDecidesOnPosition()
    {
        Configure(fileOutput);
        struct : l4cpp::Logger
        {
            bool IsPositionEnabled() const override { return true; }
        } logger;
        Message(&logger, &logCategory, IMessage::INFO, "src/file", "Load", 40) << "x";
        QCOMPARE(Lines(), QStringList("INFO test.category: x (file: src/file(40))"));
    }
};

QTEST_GUILESS_MAIN(TestLog4cpp)
#include "tst_log4cpp.moc"
