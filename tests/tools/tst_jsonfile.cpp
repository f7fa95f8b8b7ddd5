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

    void roundTrip()
    {
        const QString path = Path("a/b/settings.json");
        const auto descriptors = [] {
            return QDir("/proc/self/fd").count();
        };
        const uint before = descriptors();
        for (const QString key : {"", "as many as 32 bytes, but no more"}) {
            QVERIFY(JsonFile(path, QJsonObject{{"old", QString(1000, 'x')}}, key).Save());
            QVERIFY(JsonFile(path, settings, key).Save());
            JsonFile file = {path, key};
            QVERIFY(file.isNull() && file.Load());
            QCOMPARE(file.object(), settings);
            JsonFile other(path, settings, key.isEmpty() ? "some key" : "");
            QVERIFY(other.Load() && other.isNull()); // no JSON to who has another key
        }
        QCOMPARE(descriptors(), before);
    }

    void fileOfAKeyIsItsTextEncryptedByOpenssl()
    {
        QVERIFY(JsonFile(Path("f"), settings, "key").Save());
        const QByteArray key = QByteArray("key").leftJustified(16, '\0').toHex();
        const QByteArray iv = QByteArray("5D3A9C0E71B24F68").toHex();
        const QByteArray content =
            OutputOf("openssl", {"enc", "-d", "-aes-128-cbc", "-nopad", "-K", key, "-iv", iv},
                     ContentOf(Path("f")));
        const QByteArray text = "{\n    \"lines\": [\n        1,\n        2.5,\n        true,\n"
                                "        null\n    ],\n    \"name\": \"Zoë\"\n}\n";
        QCOMPARE(content, text.leftJustified(content.size(), '\0'));
    }

    void contentThatIsNoJson()
    {
        for (const QByteArray& content : {QByteArray(), QByteArray(1000000, '[')}) {
            WriteFile(Path("f"), content);
            JsonFile file(Path("f"), settings, content.isEmpty() ? "key" : "");
            QVERIFY(file.Load() && file.isNull());
        }
    }

    void failures()
    {
        const RecordingLogger log;
        MakeTree(directory_->path(), {"file=", "pipe|", "sparse="});
        QVERIFY(QFile::resize(Path("sparse"), 3LL << 30));
        QVERIFY(!JsonFile("").Load());
        QStringList lines = {"3 jsonfile Load: FileName is empty!"};
        for (const char* name : {"missing", ".", "pipe", "sparse"}) {
            JsonFile file(Path(name), settings);
            QVERIFY(!file.Load());
            QCOMPARE(file.object(), settings);
            lines << "3 jsonfile Load: Failed to open file '" + Path(name) + "' for read!";
        }

        QVERIFY(!JsonFile("", settings).Save());
        QVERIFY(!JsonFile(Path("file/below/f"), settings).Save());
        QVERIFY(!JsonFile(Path("."), settings).Save());
        QVERIFY(!JsonFile("/dev/full", settings).Save());
        QVERIFY(!JsonFile(Path("new/f"), settings, QString(17, QChar(0xEB))).Save()); // 34 bytes
        QVERIFY(!QDir(Path("new")).exists());
        lines << "3 jsonfile Save: FileName is empty!"
              << "3 jsonfile Save: Failed to create directory '" + Path("file/below") + "'!"
              << "3 jsonfile Save: Failed to open file '" + Path(".") + "' for write!";
        for (const QString& path : {QString("/dev/full"), Path("new/f")})
            lines << "3 jsonfile Save: Failed to save document in file '" + path + "'!";
        QCOMPARE(log.Lines(), lines);
        QCOMPARE(log.Files(), QStringList("src/libs/common/tools/jsonfile"));
    }

    void pathThatOnlyQtKnows()
    {
        QDir::setSearchPaths("settings", {directory_->path()});
        WriteFile(Path("f"), "{}");
        QVERIFY(JsonFile("settings:f").Load());
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
        text.clear();
        out << settings << QJsonValue(settings) << QJsonDocument(settings)
            << QJsonValue(QJsonArray{"ë"}) << QJsonArray();
        QCOMPARE(text,
                 QString(QJsonDocument(settings).toJson()).repeated(3) + "[\n    \"ë\"\n]\n[\n]\n");
    }
};

QTEST_GUILESS_MAIN(TestJsonFile)
#include "tst_jsonfile.moc"
