#include <common/tools/jsonfile.h>

#include "support/process.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

using tools::JsonFile;

namespace {

const QJsonObject settings{{"name", "Zoë"}, {"lines", QJsonArray{1, 2.5, true, QJsonValue::Null}}};

} // namespace

class TestJsonFile : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> directory_;

    QString Path(const QString& name) const { return directory_->filePath(name); }

private Q_SLOTS:
    void init() { directory_.reset(new QTemporaryDir); }

    void roundTrip_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("cipher");
        QTest::newRow("plain") << ""
                               << "";
        QTest::newRow("128") << "key"
                             << "-aes-128-cbc";
        QTest::newRow("192") << "seventeen letters"
                             << "-aes-192-cbc";
        QTest::newRow("256") << "as many as 32 bytes, but no more"
                             << "-aes-256-cbc";
    }

    void roundTrip()
    {
        QFETCH(QString, key);
        QFETCH(QString, cipher);
        const QString path = Path("a/b/settings.json");
        QVERIFY(JsonFile(path, QJsonObject{{"old", QString(1000, 'x')}}, key).Save());
        QVERIFY(JsonFile(path, settings, key).Save());

        QByteArray content = ContentOf(path);
        if (!cipher.isEmpty()) {
            const int bytes = cipher.mid(5, 3).toInt() / 8;
            const QByteArray hex = key.toUtf8().leftJustified(bytes, '\0').toHex();
            content = OutputOf("openssl",
                               {"enc", "-d", cipher, "-nopad", "-K", hex, "-iv",
                                QByteArray("5D3A9C0E71B24F68").toHex()},
                               content);
            QCOMPARE(content.size() % 16, 0);
            while (content.endsWith('\0'))
                content.chop(1);
        }
        QCOMPARE(content, QJsonDocument(settings).toJson());

        JsonFile file = {path, key};
        QVERIFY(file.isNull());
        QCOMPARE(file.FileName(), path);
        QVERIFY(file.Load());
        QCOMPARE(file.object(), settings);
        JsonFile other(path, settings, key.isEmpty() ? "some key" : "");
        QVERIFY(other.Load());
        QVERIFY(other.isNull());
    }

    void contentThatIsNoJson_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("cut") << QByteArray("{\"a\":");
        QTest::newRow("zeros") << QByteArray(100, '\0');
        QTest::newRow("deep arrays") << QByteArray(1000000, '[');
        QTest::newRow("deep objects") << QByteArray("{\"a\":").repeated(200000);
    }

    void contentThatIsNoJson()
    {
        QFETCH(QByteArray, content);
        WriteFile(Path("f"), content);
        for (const char* key : {"", "key", "a key of more than thirty-two bytes"}) {
            JsonFile file(Path("f"), settings, key);
            QVERIFY(file.Load());
            QVERIFY(file.isNull());
        }
    }

    void failures()
    {
        RecordingLogger log;
        WriteFile(Path("file"), "kept");
        const QString below = Path("file/below/f");
        const QString longKey(33, 'k');
        MakeTree(directory_->path(), {"pipe|"});
        const QStringList notLoaded = {"", Path("missing"), directory_->path(), Path("pipe")};
        for (const QString& path : notLoaded) {
            JsonFile file(path, settings);
            QVERIFY(!file.Load());
            QCOMPARE(file.object(), settings);
        }
        QFile sparse(Path("sparse"));
        QVERIFY(sparse.open(QIODevice::WriteOnly) && sparse.resize(3LL << 30));
        JsonFile large(Path("sparse"), settings);
        QVERIFY(!large.Load() && large.object() == settings);

        QVERIFY(!JsonFile("", settings).Save());
        QVERIFY(!JsonFile(below, settings).Save());
        QVERIFY(!JsonFile(directory_->path(), settings).Save());
        QVERIFY(!JsonFile("/dev/full", settings).Save());
        QVERIFY(!JsonFile(Path("file"), settings, longKey).Save());
        QVERIFY(!JsonFile(Path("new/f"), settings, longKey).Save());
        QCOMPARE(ContentOf(Path("file")), QByteArray("kept"));
        QVERIFY(!QDir(Path("new")).exists());

        const auto quoted = [](const QString& path) {
            return '\'' + path + '\'';
        };
        QCOMPARE(
            log.Lines(),
            QStringList(
                {"3 jsonfile Load: FileName is empty!",
                 "3 jsonfile Load: Failed to open file " + quoted(notLoaded[1]) + " for read!",
                 "3 jsonfile Load: Failed to open file " + quoted(notLoaded[2]) + " for read!",
                 "3 jsonfile Load: Failed to open file " + quoted(notLoaded[3]) + " for read!",
                 "3 jsonfile Load: Failed to open file " + quoted(Path("sparse")) + " for read!",
                 "3 jsonfile Save: FileName is empty!",
                 "3 jsonfile Save: Failed to create directory " + quoted(Path("file/below")) + "!",
                 "3 jsonfile Save: Failed to open file " + quoted(directory_->path()) +
                     " for write!",
                 "3 jsonfile Save: Failed to save document in file '/dev/full'!",
                 "3 jsonfile Save: Failed to save document in file " + quoted(Path("file")) + "!",
                 "3 jsonfile Save: Failed to save document in file " + quoted(Path("new/f")) +
                     "!"}));
        QCOMPARE(log.Files(), QStringList("src/libs/common/tools/jsonfile"));
    }

    void pathThatOnlyQtKnows()
    {
        QDir::setSearchPaths("settings", {directory_->path()});
        QVERIFY(JsonFile(Path("f"), settings).Save());
        JsonFile file("settings:f");
        QVERIFY(file.Load());
        QCOMPARE(file.object(), settings);
        QVERIFY(JsonFile(":/qpdf/qpdfa_metadata.xml").Load()); // a resource of Qt's own
    }

    void printing()
    {
        QString text;
        QTextStream out(&text);
        out << QJsonValue(true) << QJsonValue(false) << ' ' << QJsonValue(2.5) << ' '
            << QJsonValue(1e21) << ' ' << QJsonValue("Zoë \"quoted\"") << ' '
            << QJsonValue(QJsonValue::Null) << QJsonValue(QJsonValue::Undefined);
        QCOMPARE(text, "10 2.5 1e+21 Zoë \"quoted\" (null)(undefined)");

        const QString json = QJsonDocument(settings).toJson();
        text.clear();
        out << settings << QJsonValue(settings) << QJsonDocument(settings);
        QCOMPARE(text, json + json + json);
        text.clear();
        out << QJsonValue(QJsonArray{"ë"}) << settings["name"] << QJsonArray();
        QCOMPARE(text, "[\n    \"ë\"\n]\nZoë[\n]\n");
    }
};

QTEST_GUILESS_MAIN(TestJsonFile)
#include "tst_jsonfile.moc"
