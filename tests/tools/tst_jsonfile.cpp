#include <common/tools/jsonfile.h>

#include "support/process.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QtTest>

using tools::JsonFile;

class TestJsonFile : public QObject
{
    Q_OBJECT

private:
    const CurrentTree tree_;
    const QJsonObject settings_{{"name", "Zoë"}, {"lines", QJsonArray{1, true, QJsonValue::Null}}};

private Q_SLOTS:
    void roundTrip()
    {
        const QString path = "a/b/settings.json";
        const int before = EntriesOf("/proc/self/fd");
        for (const QString key : {"as many as 32 bytes, but no more", "", "key"}) {
            QVERIFY(JsonFile(path, QJsonObject{{"old", QString(1000, 'x')}}, key).Save());
            QVERIFY(JsonFile(path, settings_, key).Save());
            JsonFile file(path, key);
            QVERIFY(file.Load());
            QCOMPARE(file.object(), settings_);
            JsonFile other(path, settings_, key.isEmpty() ? "some key" : "");
            QVERIFY(other.Load() && other.isNull()); // no JSON to who has another key
        }
        QCOMPARE(EntriesOf("/proc/self/fd"), before);
        const QString iv = QByteArray("5D3A9C0E71B24F68").toHex();
        const QByteArray plain =
            OutputOf("openssl", {"enc", "-d", "-aes-128-cbc", "-nopad", "-K", "6b6579", "-iv", iv},
                     ContentOf(path));
        const QByteArray text =
            "{\n    \"lines\": [\n        1,\n        true,\n        null\n    ],\n"
            "    \"name\": \"Zoë\"\n}\n";
        QCOMPARE(plain, text.leftJustified(plain.size(), '\0'));
    }

    void failures()
    {
        const RecordingLogger log;
        MakeTree(".", {"file=", "pipe|", "sparse="});
        QVERIFY(QFile::resize("sparse", 3LL << 30));
        QVERIFY(!JsonFile("").Load() && !JsonFile("", settings_).Save());
        QStringList lines = {"3 jsonfile Load: FileName is empty!",
                             "3 jsonfile Save: FileName is empty!"};
        for (const QString name : {"missing", ".", "pipe", "sparse"}) {
            JsonFile file(name, settings_);
            QVERIFY(!file.Load());
            QCOMPARE(file.object(), settings_);
            lines << "3 jsonfile Load: Failed to open file '" + name + "' for read!";
        }
        QVERIFY(!JsonFile("file/below/f", settings_).Save());
        QVERIFY(!JsonFile(".", settings_).Save());
        lines << "3 jsonfile Save: Failed to create directory '" + tree_.path() + "/file/below'!"
              << "3 jsonfile Save: Failed to open file '.' for write!";
        const QString key(17, QChar(0xEB)); // 34 bytes
        for (const QString path : {"/dev/full", "new/f"}) {
            QVERIFY(!JsonFile(path, settings_, path == "/dev/full" ? "" : key).Save());
            lines << "3 jsonfile Save: Failed to save document in file '" + path + "'!";
        }
        QVERIFY(!QFile::exists("new"));
        QCOMPARE(log.Lines(), lines);
    }

    void tooLarge()
    {
        if (!qEnvironmentVariableIsSet("QVCOMMON_LONG_TESTS"))
            QSKIP("needs 6 GiB of memory");
        const QString text(100'000'000, QChar(1)); // each of which is written as six characters
        QVERIFY(!JsonFile("big", QJsonDocument(QJsonArray{text, text, text, text})).Save());
        QVERIFY(!JsonFile("big", QJsonObject{{"a", QJsonArray{text + text}}}).Save());
        QVERIFY(!JsonFile("big", QJsonObject{{text + text, 1}}).Save());
        QVERIFY(!QFile::exists("big"));
    }

    void pathThatOnlyQtKnows() { QVERIFY(JsonFile(":/qpdf/qpdfa_metadata.xml").Load()); }

    void printing()
    {
        QString text;
        QTextStream out(&text);
        for (const QJsonValue& value : {QJsonValue(true), QJsonValue(2.5), QJsonValue("\"ë\""),
                                        QJsonValue(), QJsonValue(QJsonValue::Undefined)})
            out << value << ' ';
        out << QJsonValue(settings_) << QJsonDocument(settings_) << QJsonValue(QJsonArray{"ë"});
        QCOMPARE(text, "1 2.5 \"ë\" (null) (undefined) " +
                           QString(QJsonDocument(settings_).toJson()).repeated(2) +
                           "[\n    \"ë\"\n]\n");
    }
};

QTEST_GUILESS_MAIN(TestJsonFile)
#include "tst_jsonfile.moc"
