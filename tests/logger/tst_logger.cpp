#include <common/logger/log.h>
#include <common/logger/logger.h>
#include <common/tools/jsonfile/jsonfile.h>

#include "support/recordinglogger.h"

#include <QtTest>

#include <thread>

using namespace common::logger;

namespace {

constexpr ICategory logCategory{"test.category"};
constexpr char logSource[] = "tests/logger/tst_logger";

struct QtLine
{
    QtMsgType type = QtFatalMsg;
    QString category;
    QString text;
};
QtLine qtLine;

// What the default logger makes of one message, with Qt's output caught.
QtLine Append(Logger& logger, IMessage::Priority level, const ICategory* category = &logCategory,
              const char* file = "src/file", const char* function = "Load")
{
    qtLine = {};
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext& context, const QString& text) {
            qtLine = {type, QString::fromUtf8(context.category), text};
        });
    Message(&logger, category, level, file, function, 40) << "text";
    qInstallMessageHandler(previous);
    return qtLine;
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
        auto* logger = new Logger;
        QCOMPARE(SetLogger(logger), nullptr);
        logger->Destroy(); // gives way
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
        Message(&logger, &logCategory, IMessage::INFO, logSource, "own", 1)
            << "hex " << Qt::hex << 255 << qSetFieldWidth(4) << 'x' << QJsonValue("JSON");

        const QStringList expected = {
            QString("4 test.category statementFillsMessage: text 42") + QChar(0xE4) + QChar(0xE4),
            "6 test.category statementFillsMessage: ", "3 test.category Other: helper",
            "6 own statementFillsMessage: text", "6 test.category own: hex ff   xJSON"};
        QCOMPARE(logger.Lines(), expected);
        QCOMPARE(logger.File(), logSource);
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

    void levelAndType()
    {
        const QtMsgType types[] = {QtCriticalMsg, QtCriticalMsg, QtCriticalMsg, QtCriticalMsg,
                                   QtWarningMsg,  QtInfoMsg,     QtInfoMsg,     QtDebugMsg};
        Logger logger;
        QCOMPARE(logger.GetLevel(), IMessage::NOTSET);
        QVERIFY(Append(logger, IMessage::EMERG).text.isEmpty());
        for (const int level : {0, 3, 7, 9}) {
            logger.SetLevel(static_cast<IMessage::Priority>(level));
            QCOMPARE(int(logger.GetLevel()), qMin(level, 8));
            for (int priority = 0; priority < 8; ++priority) {
                const QtLine line = Append(logger, static_cast<IMessage::Priority>(priority));
                QCOMPARE(line.text.isEmpty(), priority > level);
                QVERIFY(priority > level || line.type == types[priority]);
            }
        }
    }

    void line()
    {
        const ICategory nameless{nullptr};
        const QString place = "text  (file: src/file(40))";
        const std::tuple<unsigned, const ICategory*, const char*, const char*, QString> rows[] = {
            {functionFormat, &logCategory, "src/file", "Load", "text "},
            {positionFormat, &logCategory, "src/file", "Load", place},
            {positionFormat | functionFormat, &logCategory, "src/file", "Load",
             "text  (Load: file: src/file(40))"},
            {positionFormat | functionFormat, &logCategory, "src/file", nullptr, place},
            {positionFormat | functionFormat, &logCategory, nullptr, "Load", "text "},
            {positionFormat, nullptr, "src/file", "Load", place},
            {positionFormat, &nameless, "src/file", "Load", place},
        };
        for (const auto& [format, category, file, function, ending] : rows) {
            Logger logger;
            QVERIFY(logger.Configure(IMessage::DEBUG, 0, format, {}, {}, {}, {}, 0, 0));
            logger.EnablePosition(false); // which keeps the other bits
            QVERIFY(!logger.IsPositionEnabled());
            logger.EnablePosition(format & positionFormat);
            const QtLine line = Append(logger, IMessage::INFO, category, file, function);
            const QRegularExpression whole("\\A\\d{4}(\\.\\d\\d){2} [\\d:]{8}\\.\\d{3}: " +
                                           QRegularExpression::escape(ending) + "\\z");
            QVERIFY2(whole.match(line.text).hasMatch(), qPrintable(line.text));
            QCOMPARE(line.category, QString(category ? category->name : ""));
        }
    }

    void subclassDecidesOnPosition()
    {
        struct : Logger
        {
            bool IsPositionEnabled() const override { return true; }
        } logger;
        logger.SetLevel(IMessage::DEBUG);
        QVERIFY(Append(logger, IMessage::INFO).text.endsWith("(file: src/file(40))"));
    }

    // For the thread sanitizer.
    void settingsMayChangeWhileThreadsLog()
    {
        Logger logger;
        logger.SetLevel(IMessage::EMERG);
        std::thread other([&logger] {
            for (int i = 0; i < 1000; ++i)
                Append(logger, IMessage::EMERG);
        });
        for (int i = 0; i < 1000; ++i) {
            logger.SetLevel(i % 2 ? IMessage::EMERG : IMessage::ALERT);
            logger.EnablePosition(i % 2);
        }
        other.join();
        QVERIFY(logger.IsPositionEnabled());
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
