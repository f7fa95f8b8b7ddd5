#include <common/logger/log.h>
#include <common/logger/logger.h>
#include <common/tools/jsonfile/jsonfile.h>

#include "support/recordinglogger.h"

#include <QRegularExpression>
#include <QtTest>

#include <thread>

using namespace common::logger;

namespace {

constexpr ICategory logCategory{"test.category"};
constexpr char logSource[] = "tests/logger/tst_logger";

struct QtLine
{
    QtMsgType type;
    QString category;
    QString text;
};
QList<QtLine> qtLines;

void RecordQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    qtLines << QtLine{type, QString::fromUtf8(context.category), text};
}

// What the default logger makes of one message, with Qt's output caught.
QList<QtLine> Append(Logger& logger, IMessage::Priority level, const QString& text,
                     const ICategory* category = &logCategory, const char* file = "src/file",
                     const char* function = "Load")
{
    qtLines.clear();
    const QtMessageHandler previous = qInstallMessageHandler(RecordQtMessage);
    Message(&logger, category, level, file, function, 40) << text;
    qInstallMessageHandler(previous);
    return qtLines;
}

} // namespace

class TestLogger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Must be the first: nothing has asked for a logger yet.
    void firstSetLoggerReturnsDefault()
    {
        QCOMPARE(SetLogger(nullptr), Logger::Instance());
        QVLOG(EMERG) << "dropped without a logger";
        QCOMPARE(SetLogger(Logger::Instance()), nullptr);
        QCOMPARE(GetLogger(), Logger::Instance());
    }

    void statementFillsMessage()
    {
        RecordingLogger logger;
        QVLOG(WARN) << "text " << 42 << QString(QChar(0xE4)) << QByteArray("\xC3\xA4");
        QVLOG(INFO);
        QVLOG_FROM("Other", ERROR) << "helper";
        const ICategory own{"own"};
        QVLOG_TO(own, INFO) << "text";
        QVLOG(NOTSET) << "never appended";
        Message(&logger, &logCategory, IMessage::INFO, logSource, "temporary", 1)
            << "hex " << Qt::hex << 255 << qSetFieldWidth(4) << 'x';
        {
            Message message(&logger, &logCategory, IMessage::INFO, logSource, "lvalue", 1);
            message << "not ";
            message << QJsonValue("JSON") << Qt::endl;
        }

        const QStringList expected = {QString("4 test.category statementFillsMessage: text 42") +
                                          QChar(0xE4) + QChar(0xE4),
                                      "6 test.category statementFillsMessage: ",
                                      "3 test.category Other: helper",
                                      "6 own statementFillsMessage: text",
                                      "6 test.category temporary: hex ff   x",
                                      "6 test.category lvalue: not JSON\n"};
        QCOMPARE(logger.Lines(), expected);
        QCOMPARE(logger.Files(), QStringList(logSource));
    }

    // Built by both compilers with all warnings that there are about such statements.
    void droppedStatementEvaluatesNothing()
    {
        int count = 0;
        // NOLINTBEGIN(bugprone-lambda-function-name): that a lambda may log is the point.
        const auto log = [&count](bool info) {
            if (info)
                QVLOG(INFO) << ++count;
            else
                QVLOG(DEBUG) << ++count;
            info ? QVLOG(INFO) << ++count : QVLOG(DEBUG) << ++count;
            QVLOG(DEBUG);
            return count;
        };
        // NOLINTEND(bugprone-lambda-function-name)
        Logger::Instance()->SetLevel(IMessage::INFO);
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(": 1 "));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(": 2 "));
        QCOMPARE(log(true), 2);
        QCOMPARE(log(false), 2);
        Logger::Instance()->SetLevel(IMessage::EMERG);
        QCOMPARE(log(true), 2);
        const RecordingLogger subclass; // decides itself, whatever its level
        QCOMPARE(log(false), 4);
        QCOMPARE(subclass.Lines().size(), 3);
    }

    void destroyedLoggerIsReplaced()
    {
        auto* logger = new Logger;
        QCOMPARE(SetLogger(logger), Logger::Instance());
        logger->Destroy();
        QCOMPARE(GetLogger(), Logger::Instance());
    }

    void levelAndType_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("reportedLevel");
        QTest::addColumn<int>("lastWritten");
        QTest::newRow("unset") << -1 << 8 << -1;
        QTest::newRow("emergencies") << 0 << 0 << 0;
        QTest::newRow("errors") << 3 << 3 << 3;
        QTest::newRow("all") << 7 << 7 << 7;
        QTest::newRow("beyond the scale") << 9 << 8 << 7;
    }

    void levelAndType()
    {
        QFETCH(int, level);
        QFETCH(int, lastWritten);
        const QtMsgType types[] = {QtCriticalMsg, QtCriticalMsg, QtCriticalMsg, QtCriticalMsg,
                                   QtWarningMsg,  QtInfoMsg,     QtInfoMsg,     QtDebugMsg};
        Logger logger;
        if (level >= 0)
            logger.SetLevel(static_cast<IMessage::Priority>(level));
        QTEST(static_cast<int>(logger.GetLevel()), "reportedLevel");
        for (int priority = 0; priority < 8; ++priority) {
            const auto lines = Append(logger, static_cast<IMessage::Priority>(priority), "x");
            QCOMPARE(lines.size(), priority <= lastWritten ? 1 : 0);
            if (!lines.isEmpty())
                QCOMPARE(lines[0].type, types[priority]);
        }
    }

    void line_data()
    {
        QTest::addColumn<unsigned>("format");
        QTest::addColumn<bool>("hasFile");
        QTest::addColumn<bool>("hasFunction");
        QTest::addColumn<QString>("ending");
        QTest::newRow("no position") << 0x2u << true << true << "text ";
        QTest::newRow("file") << 0x1u << true << true << "text  (file: src/file(40))";
        QTest::newRow("function") << 0x3u << true << true << "text  (Load: file: src/file(40))";
        QTest::newRow("no function") << 0x3u << true << false << "text  (file: src/file(40))";
        QTest::newRow("no file") << 0x3u << false << true << "text ";
    }

    void line()
    {
        QFETCH(unsigned, format);
        QFETCH(bool, hasFile);
        QFETCH(bool, hasFunction);
        QFETCH(QString, ending);
        Logger logger;
        QVERIFY(logger.Configure(IMessage::DEBUG, 0, format, {}, {}, {}, {}, 0, 0));
        QCOMPARE(logger.IsPositionEnabled(), (format & 1) != 0);

        const auto lines = Append(logger, IMessage::INFO, "text", &logCategory,
                                  hasFile ? "src/file" : nullptr, hasFunction ? "Load" : nullptr);
        const QRegularExpression whole(
            "\\A\\d{4}\\.\\d\\d\\.\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}: " +
            QRegularExpression::escape(ending) + "\\z");
        QVERIFY2(whole.match(lines.value(0).text).hasMatch(), qPrintable(lines.value(0).text));
        QCOMPARE(lines[0].category, QString(logCategory.name));
    }

    void positionSwitchKeepsOtherBits()
    {
        Logger logger;
        logger.Configure(IMessage::DEBUG, 0, 0x2, {}, {}, {}, {}, 0, 0);
        logger.EnablePosition(true);
        QVERIFY(Append(logger, IMessage::INFO, "x").value(0).text.contains("(Load: file: "));
        logger.EnablePosition(false);
        QVERIFY(!logger.IsPositionEnabled());
    }

    void subclassDecidesOnPosition()
    {
        struct : Logger
        {
            bool IsPositionEnabled() const override { return true; }
        } logger;
        logger.SetLevel(IMessage::DEBUG);
        QVERIFY(Append(logger, IMessage::INFO, "x").value(0).text.endsWith("(file: src/file(40))"));
    }

    // For the thread sanitizer.
    void settingsMayChangeWhileThreadsLog()
    {
        Logger logger;
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        std::thread other([&logger] {
            for (int i = 0; i < 1000; ++i)
                Message(&logger, &logCategory, IMessage::EMERG, logSource, "run", 1) << i;
        });
        for (int i = 0; i < 1000; ++i) {
            logger.SetLevel(i % 2 ? IMessage::EMERG : IMessage::ALERT);
            logger.EnablePosition(i % 2);
        }
        other.join();
        qInstallMessageHandler(previous);
        QCOMPARE(logger.GetLevel(), IMessage::EMERG);
        QVERIFY(logger.IsPositionEnabled());
    }

    void missingCategoryIsEmpty()
    {
        Logger logger;
        logger.SetLevel(IMessage::DEBUG);
        const ICategory nameless{nullptr};
        QCOMPARE(Append(logger, IMessage::INFO, "x", nullptr).value(0).category, QString(""));
        QCOMPARE(Append(logger, IMessage::INFO, "x", &nameless).value(0).category, QString(""));
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
